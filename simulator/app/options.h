#pragma once

#include "scenario/podplan.h"
#include "scenario/stickplan.h"

#include <QString>
#include <QStringList>

enum class Display {
    Auto,   ///< a window for a person, on the display or, where there is none, as Vnc
    Window, ///< on the display
    Vnc,    ///< for a viewer or a browser on this machine
    None    ///< no window
};

/// The command line of the bench.
struct Options
{
    bool help = false;
    int pods = 30;
    PodPlan usual_pod;
    StickPlan stick;
    Display display = Display::Auto;
    QString station_program; ///< empty: the one that came with the bench
    QString scenario_file;
    bool machine = false;  ///< the station has a computer of its own
    QString board_folder;  ///< which is the board that was made ready there; empty: a desk's
    QString firmware_file; ///< empty: none
    bool once = false;
    int explored_days = 0; ///< 0: nothing is explored
    int jobs = 1;
    int most_episodes = 16;
    QString screenshot_file;
    QString kept_folder;
    quint64 seed = 1;
    bool verbose = false;
};

/// arguments begin with the program's name. Throws BadInput. Needs no application object.
Options parseOptions(const QStringList& arguments);
QString optionsHelp();
