// Prints what the packaged station costs on its own kind of board, in a machine where a second of
// processor time is 500 million instructions. Usage: figures_board FOLDER-OF-THE-BOARD [PART...],
// all parts or some of "pulse", "memory" and "work"
#include "boardrun.h"
#include "figures.h"

#include <QCoreApplication>
#include <QTextStream>

#include <stdexcept>

namespace {

using figures::number;

constexpr int kWatchedSeconds = 30;
const SlotSet kAll = firstSlots(kSlotCount);

void row(QTextStream& out, const char* what, const QString& figure, const char* aim = "")
{
    out << "| " << what << " | " << figure << " | " << aim << " |\n";
    out.flush();
}

QString percent(double part, double whole)
{
    return number(part / whole * 100, 1) + QStringLiteral(" %");
}

Condition panel(int code)
{
    return {Condition::Kind::Panel, {}, {}, code};
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

/// From the power to the first pod, then nothing plugged, then thirty.
void printWork(QTextStream& out, const QString& board)
{
    constexpr quint32 kBytes = 256 * 1024;
    Scenario scenario = podsOf(kBytes, 0, 0);
    scenario.stick.inserted = false;
    BoardRun run(Computer::measuredBoard(board), board, scenario);
    run.await(panel(2));
    row(out, "power to the first picture", number(run.uptimeSeconds(), 1) + QStringLiteral(" s"));
    const Share idle = watched(run);
    row(out, "idle, nothing plugged: the station", percent(idle.station, idle.seconds));
    row(out, "idle: its `lsusb -v`, `blkid` and other programs",
        percent(idle.children, idle.seconds));
    row(out, "idle: the station's own wake-ups a second", number(idle.wake_ups / idle.seconds, 1));

    const double written = run.writtenMegabytes();
    const BoardRun::Usage before = run.usage();
    run.plug(kAll);
    run.await({Condition::Kind::Erased, kAll, {}, 0});
    const BoardRun::Usage after = run.usage();
    row(out, "bytes written to the storage per byte of the recordings",
        number((run.writtenMegabytes() - written) / run.recordedMegabytes(), 2));
    const double ours = (after.total() - before.total()) / run.recordedMegabytes();
    run.ask(QStringLiteral("mkdir /opt/r /opt/c && cd /opt/r && busybox unzip -q -o "
                           "$(ls /opt/Corvane/datas/*.cvx | tail -n 1)"));
    const double tools = secondsOf(run, QStringLiteral("cd /opt/r; sha256sum *; cp * ../c; "
                                                       "zip -6 -q ../all.zip *")) /
                         run.recordedMegabytes();
    row(out, "processor seconds per MB archived, thirty pods", number(ours, 2));
    row(out, "the same for `sha256sum` + `cp` + `zip -6`", number(tools, 2));
    row(out, "ratio of the two", number(ours / tools, 2));
}

void printPulse(QTextStream& out, const QString& board)
{
    Scenario scenario = podsOf(4096, 0, 1000);
    scenario.plugged = kAll;
    scenario.stick.inserted = false;
    BoardRun run(Computer::measuredBoard(board), board, scenario);
    run.await({Condition::Kind::ReadoutBegun, slotSetOf(0), {}, 0});
    row(out, "power to the first pod served, thirty plugged",
        number(run.uptimeSeconds(), 1) + QStringLiteral(" s"));
    run.await({Condition::Kind::Charging, kAll, {}, 0});
    const Share pulse = watched(run);
    row(out, "thirty gauges pulse and nothing else happens", percent(pulse.station, pulse.seconds));
}

void printMemory(QTextStream& out, const QString& board)
{
    Scenario scenario = podsOf(1 << 20, 20'000, 0);
    scenario.plugged = kAll;
    scenario.stick.inserted = false;
    BoardRun run(Computer::measuredBoard(board), board, scenario);
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
    const QString board = QCoreApplication::arguments().value(1);
    const QStringList parts = QCoreApplication::arguments().mid(2);
    const auto wanted = [&](const char* part) {
        return parts.isEmpty() || parts.contains(QLatin1String(part));
    };
    return figures::print([&](QTextStream& out) {
        out << "| on the board | figure | aim |\n|---|---|---|\n";
        if (wanted("pulse"))
            printPulse(out, board);
        if (wanted("memory"))
            printMemory(out, board);
        if (wanted("work"))
            printWork(out, board);
    });
}
