#pragma once

#include "bench/benchfolder.h"
#include "bench/benchstick.h"
#include "bench/podrack.h"
#include "bench/scenario.h"
#include "bench/screenclient.h"
#include "bench/screenreader.h"
#include "bench/station.h"

#include <QElapsedTimer>
#include <QObject>
#include <QSet>
#include <QTimer>

/// So many lines are told of what is on the stick.
constexpr int kStickLines = 20;

/// How a bench is set up.
struct BenchSettings
{
    QString station_program;
    QString kept_folder; ///< empty: a temporary one
    quint64 seed = 1;
    bool window = false; ///< on the user's display; the bench then neither sees nor touches it
    bool echo_log = false;
};

/// Moments of a run, in milliseconds since the station was first started; -1 before.
struct BenchTimes
{
    qint64 first_readout_ms = -1;
    qint64 last_copy_ms = -1; ///< the panel began to say that the archive is on the stick
};

/// The whole bench: pods, stick, screen and the station between them. Lives on the main thread,
/// owned by main; everything it makes ends with it. Throws BadInput when it cannot be set up or is
/// told to do what cannot be done; the station's failures are for the expectations to find.
class Bench : public QObject
{
    Q_OBJECT

public:
    Bench(const BenchSettings& settings, const Scenario& scenario);

    /// Plugs what the scenario plugs and starts the station.
    void start();
    /// Does it; the answer is for a person to read, mostly empty.
    QString perform(const Verb& verb);
    bool holds(const Condition& condition) const;
    qint64 elapsedMs() const { return m_clock.isValid() ? m_clock.elapsed() : 0; }

    bool quitAsked() const { return m_quitting; }
    const BenchFolder& folder() const { return m_folder; }
    const BenchStick& stick() const { return m_stick; }
    /// What was on the stick before the station started, a line each.
    const QStringList& stickBefore() const { return m_stick_before; }
    /// The station's archives of earlier days.
    const std::vector<KnownArchive>& earlierArchives() const { return m_earlier; }
    const PodRack& rack() const { return m_rack; }
    const Station& station() const { return m_station; }
    /// Whether the panel has shown this code's picture, however shortly.
    bool panelShown(int code) const { return m_panel_shown.contains(code); }
    const BenchTimes& times() const { return m_times; }

Q_SIGNALS:
    /// Something that a condition may ask about is different now.
    void changed();

private:
    QString act(const verb::Plug& plug);
    QString act(const verb::Unplug& unplug);
    QString act(const verb::SetFault& fault);
    QString act(const verb::Stick& stick);
    QString act(const verb::Touch& touch);
    QString act(const verb::Screenshot& screenshot);
    QString act(const verb::Quit& quit);
    QString act(const verb::KillStation& kill);
    QString act(const verb::RestartStation& restart);
    QString act(const verb::Status& status);
    QString act(const verb::Help& help);

    void startStation();
    void noteChange();
    void readScreen();
    void touchQuitCorner();
    bool allPods(const SlotSet& slot_set, bool (*done)(const PodReport&)) const;
    bool holdsForPods(const Condition& condition) const;
    bool holdsForFiles(const Condition& condition) const;

    Scenario m_scenario;
    bool m_window;
    BenchFolder m_folder;
    BenchStick m_stick;
    QStringList m_stick_before;
    std::vector<KnownArchive> m_earlier;
    PodRack m_rack;
    Station m_station;
    ScreenClient m_screen;
    ScreenReader m_reader;
    std::optional<int> m_panel_code;
    QSet<int> m_panel_shown;
    SlotSet m_full_gauges;
    SlotSet m_empty_gauges;
    QElapsedTimer m_clock;
    BenchTimes m_times;
    bool m_quitting = false;
    QTimer m_quit_patience;
};
