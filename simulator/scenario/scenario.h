#pragma once

#include "archives/earlierarchives.h"
#include "common/slotset.h"
#include "scenario/firmware.h"
#include "scenario/podplan.h"
#include "scenario/stickplan.h"

#include <QDateTime>
#include <QMap>
#include <QPoint>
#include <QStringList>

#include <array>
#include <chrono>
#include <optional>
#include <variant>
#include <vector>

/// What can be done to a bench, by a step of a scenario or at the prompt.
namespace verb {
struct Plug
{
    SlotSet slot_set;
    std::optional<PodPlan> plan; ///< none: as that slot was planned before
};
struct Unplug
{
    SlotSet slot_set;
};
/// Of the next pod that is plugged there.
struct SetFault
{
    SlotSet slot_set;
    PodFault fault;
};
struct Stick
{
    bool inserted;
    std::optional<StickPlan> other; ///< put in instead of the one before
};
/// Only while it is out, as on a person's computer.
struct PutOnStick
{
    QString file;
};
/// Bytes of nothing in front of what the station's newest archive holds: such an archive is large
/// at once. Only while nothing is added to it.
struct GrowArchive
{
    quint64 hole_bytes;
};
struct Touch
{
    QPoint at;
};
struct Screenshot
{
    QString file;
    std::optional<int> gauge = std::nullopt; ///< of the gauge of this slot alone...
    int times = 1;                           ///< ...with larger pixels
};
struct Quit
{
};
/// By signal, as a service manager asks.
struct StopStation
{
};
struct KillStation
{
};
struct RestartStation
{
};
/// Notes what the station's process holds: threads, descriptors, memory.
struct MeasureStation
{
};
/// Of the station's computer.
struct SetClock
{
    QDateTime time;
};
/// On the station's disk, from now on.
struct LeaveRoom
{
    qint64 bytes;
};
struct Status
{
};
struct Help
{
};
} // namespace verb

using Verb =
    std::variant<verb::Plug, verb::Unplug, verb::SetFault, verb::Stick, verb::PutOnStick,
                 verb::GrowArchive, verb::Touch, verb::Screenshot, verb::Quit, verb::StopStation,
                 verb::KillStation, verb::RestartStation, verb::MeasureStation, verb::SetClock,
                 verb::LeaveRoom, verb::Status, verb::Help>;

/// What a step waits for: how things stand with a slot's present or last pod, with all lines
/// logged so far, with the picture last seen.
struct Condition
{
    enum class Kind {
        Time, ///< number: milliseconds since the station was first started
        ReadoutBegun,
        ReadoutCompleted,
        Erased,
        Charging, ///< asked for its charge, and not full yet
        Charged,
        Vanished,
        Bootloader,   ///< in it
        Updating,     ///< in it, and has taken something of the image
        Updated,      ///< back from it with what it was sent
        GaugeFull,    ///< shown full, green and not charging
        GaugeEmpty,   ///< shown white
        Gauge,        ///< text: its state, as GaugeReader says it
        Log,          ///< text in at least `number` lines
        RunLog,       ///< text in a line since the station was last started
        Panel,        ///< number: the code whose picture is shown
        PodThreads,   ///< number: worker threads of pods alive in the station
        StickBytes,   ///< the stick's file `text` has at least `number` bytes
        StickLacks,   ///< there is no `text` on the stick
        StickMounted, ///< number: 1 mounted by the station, 0 not
        StationBytes, ///< the file `text` below the station's folder has at least `number` bytes
        Ended         ///< the station is not running
    };
    Kind kind;
    SlotSet slot_set;
    QString text;
    int number = 0;
};

struct Step
{
    std::vector<Condition> conditions; ///< all must hold
    Verb action;
    QString place;                     ///< where it stands in its file
    std::chrono::milliseconds wait{0}; ///< at least, since the step before
    /// So long after the step before it is done whatever holds.
    std::optional<std::chrono::milliseconds> patience = std::nullopt;
    bool if_possible = false; ///< what cannot be done is left out, and no problem
};

struct Expectations
{
    SlotSet archived; ///< whose last recording must be in the archive, whole
    SlotSet erased;
    SlotSet delivered;         ///< each recording ever erased from these is whole on a stick
    SlotSet kept;              ///< plugged or not, their recording must still be in them
    SlotSet updated;           ///< run the scenario's firmware and refused nothing on the way
    QStringList infos_contain; ///< texts in the archive's information file
    /// The files in the stick's report, and texts in each.
    std::optional<QMap<QString, QStringList>> report;
    QStringList log_contains;
    QStringList log_lacks;
    QStringList warnings; ///< texts that make a warning an expected one
    std::optional<int> entries;
    std::optional<QStringList> local_archives; ///< exactly these are in "datas"
    std::optional<QStringList> backup; ///< earlier archives that the stick's backup holds, in order
    QStringList erased_archives;       ///< earlier archives that may be nowhere now
    QStringList stick_holds;
    QStringList stick_lacks;
    QStringList stick_keeps;      ///< files of the last stick's content that are as they were
    QStringList station_lacks;    ///< names below the station's folder
    std::vector<int> panel_shown; ///< codes whose pictures were to be seen
    std::vector<int> panel_never; ///< and those that were not
    QStringList never_run;        ///< tools, as far as they note their runs
    SlotSet punctual;             ///< no recording waited there for longer than...
    std::chrono::seconds punctual_limit{0}; ///< ...this from plugging, or start, to erasing
    /// No measurement found more than the last one, which is of the idle station.
    bool settled = false;
    int exit_code = 0;
    bool on_stick = true; ///< the archive looked at is the stick's, else the station's last one
};

struct Scenario
{
    QString name;
    std::array<PodPlan, kSlotCount> plans;
    SlotSet plugged;
    StickPlan stick;
    EarlierPlan earlier;
    std::optional<FirmwarePlan> firmware; ///< whose package is on the stick
    qint64 download_space_bytes = 0;      ///< room for the station's downloads; 0: not limited
    qint64 disk_bytes = 0;                ///< of the station's own disk; 0: it has the computer's
    std::vector<Step> steps;
    Expectations expect;
    std::chrono::seconds time_limit{300};
};

/// The plain road: the given slots plugged from the start, everything archived, copied, erased and
/// charged; then, if run unattended, a screenshot (unless the name is empty) and the end.
Scenario plainScenario(const PodPlan& plan, SlotSet slot_set, bool stick,
                       const QString& screenshot);

/// The plain update: the given slots plugged from the start, every pod updated and then charged.
Scenario plainUpdate(const PodPlan& plan, SlotSet slot_set, const FirmwarePlan& firmware,
                     const QString& screenshot);
