// Prints what the packaged station costs on its own kind of board, in a machine where a second of
// processor time is 500 million instructions, or, for "desk", what the built one costs on a desk's
// computer of that kind. Usage: figures_board FOLDER-OF-THE-BOARD|desk [PART...], all parts or some
// of "idle", "pulse", "memory" and "work"
#include "boardrun.h"
#include "common/companions.h"
#include "figures.h"

#include <QCoreApplication>
#include <QTextStream>

#include <array>
#include <stdexcept>
#include <utility>

namespace {

using figures::number;

constexpr int kWatchedSeconds = 30;
const SlotSet kAll = firstSlots(kSlotCount);
/// The first picture.
const Condition kWaitsForPods{Condition::Kind::Panel, {}, {}, 2};

void row(QTextStream& out, const char* what, const QString& figure, const char* aim = "")
{
    out << "| " << what << " | " << figure << " | " << aim << " |\n";
    out.flush();
}

QString percent(double part, double whole)
{
    return number(part / whole * 100, 1) + QStringLiteral(" %");
}

/// Processor seconds, by the kernel's account of the shell's children.
double secondsOf(BoardRun& run, const QString& commands)
{
    // The second line of "times" is the children's: 0m1.23s 0m0.45s.
    const QString children =
        run.ask(QStringLiteral("sh -c '{ %1; } >/dev/null; times'").arg(commands)).value(1);
    double seconds = 0;
    for (const QString& part : children.split(QLatin1Char(' ')))
        seconds += part.section(QLatin1Char('m'), 0, 0).toDouble() * 60 +
                   part.section(QLatin1Char('m'), 1).chopped(1).toDouble();
    if (seconds <= 0)
        throw std::runtime_error("the board's shell did not tell the time of its children");
    return seconds;
}

struct Share
{
    double station = 0;
    double children = 0;
    double wake_ups = 0;
    double seconds = 0;
};

Share watched(BoardRun& run)
{
    const BoardRun::Usage before = run.usage();
    const double wake_ups = run.wakeUps();
    run.ask(QStringLiteral("sleep %1").arg(kWatchedSeconds));
    const double later_wake_ups = run.wakeUps();
    const BoardRun::Usage after = run.usage();
    return {after.own - before.own, after.ended_children - before.ended_children,
            later_wake_ups - wake_ups, after.at - before.at};
}

/// The start, then nothing plugged.
void printIdle(QTextStream& out, const Computer& computer, const QString& station)
{
    Scenario scenario;
    scenario.stick.inserted = false;
    BoardRun run(computer, station, scenario);
    run.await(kWaitsForPods);
    row(out, "power to the first picture", number(run.uptimeSeconds(), 1) + QStringLiteral(" s"));
    const Share idle = watched(run);
    row(out, "idle, nothing plugged: the station", percent(idle.station, idle.seconds));
    row(out, "idle: its `lsusb -v`, `blkid` and other programs",
        percent(idle.children, idle.seconds));
    row(out, "idle: the station's own wake-ups a second", number(idle.wake_ups / idle.seconds, 1));
}

/// Of all recordings in the station's archive.
double toolsSeconds(BoardRun& run)
{
    run.ask(QStringLiteral("mkdir /opt/r /opt/c && cd /opt/r && busybox unzip -q -o "
                           "$(ls /opt/Corvane/datas/*.cvx | tail -n 1)"));
    return secondsOf(run, QStringLiteral("cd /opt/r; sha256sum *; cp * ../c; "
                                         "zip -6 -q ../all.zip *"));
}

struct Load
{
    const char* name;
    int pods;
    quint32 bytes;
    RecordingContent content;
};

constexpr std::array kLoads{
    Load{"thirty of 256 KiB, noise", 30, 256 << 10, RecordingContent::Noise},
    Load{"thirty of 2 MiB, noise", 30, 2 << 20, RecordingContent::Noise},
    Load{"thirty of 2 MiB, motion", 30, 2 << 20, RecordingContent::Motion},
    Load{"eight of 8 MiB, noise", 8, 8 << 20, RecordingContent::Noise},
};

Scenario scenarioOf(const Load& load)
{
    Scenario scenario;
    PodPlan plan;
    plan.size = {load.bytes, load.bytes};
    plan.content = load.content;
    plan.bytes_per_second = 0;
    plan.polls_until_charged = 0;
    scenario.plans.fill(plan);
    scenario.stick.inserted = false;
    return scenario;
}

void printWork(QTextStream& out, const Computer& computer, const QString& station, const Load& load)
{
    out << "| **" << load.name << "** | | |\n";
    BoardRun run(computer, station, scenarioOf(load));
    run.await(kWaitsForPods);
    const double written = run.writtenMegabytes();
    const BoardRun::Usage before = run.usage();
    const SlotSet places = firstSlots(load.pods);
    run.plug(places);
    run.await({Condition::Kind::Erased, places, {}, 0});
    const BoardRun::Usage after = run.usage();
    row(out, "bytes written to the storage per byte of the recordings",
        number((run.writtenMegabytes() - written) / run.recordedMegabytes(), 2));
    const double ours = (after.total() - before.total()) / run.recordedMegabytes();
    const double tools = toolsSeconds(run) / run.recordedMegabytes();
    row(out, "processor seconds per MB archived", number(ours, 3));
    row(out, "the same for `sha256sum` + `cp` + `zip -6`", number(tools, 3));
    row(out, "ratio of the two", number(ours / tools, 2));
}

void printWorks(QTextStream& out, const Computer& computer, const QString& station)
{
    for (const Load& load : kLoads)
        printWork(out, computer, station, load);
}

void printPulse(QTextStream& out, const Computer& computer, const QString& station)
{
    Scenario scenario = podsOf(4096, 0, 1000);
    scenario.plugged = kAll;
    scenario.stick.inserted = false;
    BoardRun run(computer, station, scenario);
    run.await({Condition::Kind::ReadoutBegun, slotSetOf(0), {}, 0});
    row(out, "power to the first pod served, thirty plugged",
        number(run.uptimeSeconds(), 1) + QStringLiteral(" s"));
    run.await({Condition::Kind::Charging, kAll, {}, 0});
    const Share pulse = watched(run);
    row(out, "thirty gauges pulse and nothing else happens", percent(pulse.station, pulse.seconds));
}

void printMemory(QTextStream& out, const Computer& computer, const QString& station)
{
    Scenario scenario = podsOf(1 << 20, 20'000, 0);
    scenario.plugged = kAll;
    scenario.stick.inserted = false;
    BoardRun run(computer, station, scenario);
    run.await({Condition::Kind::ReadoutBegun, kAll, {}, 0});
    const double available = run.availableMebibytes();
    for (int slot = 0; slot < kSlotCount; ++slot)
        if (run.holds({Condition::Kind::ReadoutCompleted, slotSetOf(slot), {}, 0}))
            throw std::runtime_error("the downloads were not simultaneous");
    row(out, "memory available with thirty downloads at once, 128 MB",
        number(available, 1) + QStringLiteral(" MiB"), ">= 50 MB");
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QString where = QCoreApplication::arguments().value(1);
    const QStringList parts = QCoreApplication::arguments().mid(2);
    return figures::print([&](QTextStream& out) {
        const bool desk = where == QLatin1String("desk");
        const Computer computer = (desk ? Computer::desk() : Computer::board(where)).measured();
        const QString station =
            desk ? QStringLiteral(CORVANE_STATION_PROGRAM) : companions::stationOfBoard(where);
        const std::array<std::pair<const char*, decltype(&printIdle)>, 4> all{
            {{"idle", printIdle},
             {"pulse", printPulse},
             {"memory", printMemory},
             {"work", printWorks}}};
        out << "| | figure | aim |\n|---|---|---|\n";
        for (const auto& [name, print] : all)
            if (parts.isEmpty() || parts.contains(QLatin1String(name)))
                print(out, computer, station);
    });
}
