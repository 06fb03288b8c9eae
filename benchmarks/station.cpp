// Prints what the running station costs, as ratios of figures taken in the same run, in tables for
// the README of this folder. The station is the real program, its pods and their bus are the
// bench's. With --road it leaves out the memory's figures, which take longest, with --memory it
// takes them alone. Works in the folder for temporary files: give it the storage that matters.
#include "common/panelcode.h"
#include "commontools.h"
#include "figures.h"
#include "stationrun.h"

#include <QCoreApplication>
#include <QTextStream>

#include <algorithm>
#include <iterator>
#include <optional>
#include <vector>

namespace {

using figures::number;
using figures::printHead;
using figures::printRow;

constexpr int kRoads = 3;
constexpr quint32 kMebibyte = 1 << 20;

PodPlan podsOf(quint32 size_bytes, quint32 bytes_per_second)
{
    PodPlan plan;
    plan.size = {size_bytes, size_bytes};
    plan.bytes_per_second = bytes_per_second;
    return plan;
}

/// All places taken when the station starts.
Scenario thirty(const PodPlan& plan)
{
    return plainScenario(plan, firstSlots(kSlotCount), true, {});
}

/// Moments in seconds after the first plug.
struct Road
{
    double floor_seconds;
    double read_out_seconds;
    double archived_seconds;
    double on_stick_seconds;
    double cpu_seconds; ///< from the first plug to the copy
    double megabytes;
    std::vector<PodSettings> pods;
};

/// The last pod's start, and its recording at the wire's speed.
double floorSeconds(const PodPlan& plan)
{
    const double stagger = 0.3 + 0.3 * (kSlotCount - 1);
    return stagger + double(plan.size.max_bytes) / plan.bytes_per_second;
}

Road measureRoad(RecordingContent content)
{
    PodPlan plan = podsOf(8 * kMebibyte, 1'200'000);
    plan.content = content;
    StationRun run(thirty(plan));
    const qint64 plug_ms = run.await(Condition::Kind::Log, QStringLiteral("Index:"), 1);
    const double cpu_at_plug = run.cpuSeconds();
    const auto secondsUntil = [&](Condition::Kind kind, int number = 0) {
        return double(run.await(kind, {}, number) - plug_ms) / 1000;
    };
    Road road{};
    road.floor_seconds = floorSeconds(plan);
    road.read_out_seconds = secondsUntil(Condition::Kind::ReadoutCompleted);
    road.archived_seconds = secondsUntil(Condition::Kind::Erased);
    road.on_stick_seconds = secondsUntil(Condition::Kind::Panel, kPanelCopied);
    road.cpu_seconds = run.cpuSeconds() - cpu_at_plug;
    road.megabytes = run.recordedMegabytes();
    road.pods = run.pods();
    run.endAndJudge();
    return road;
}

/// Fastest first. One alone says little: the station looks every two seconds whether to copy, and
/// the last recording comes at any moment between two looks.
std::vector<Road> measureRoads(RecordingContent content)
{
    std::vector<Road> roads;
    std::generate_n(std::back_inserter(roads), kRoads, [=] { return measureRoad(content); });
    std::sort(roads.begin(), roads.end(), [](const Road& one, const Road& other) {
        return one.on_stick_seconds < other.on_stick_seconds;
    });
    return roads;
}

/// Of a station that reads thirty pods at once and archives what it read; none when the first pod
/// was read out before the last one began.
std::optional<double> peakMebibytesIfAtOnce(quint32 size_bytes, quint32 bytes_per_second)
{
    StationRun run(thirty(podsOf(size_bytes, bytes_per_second)));
    run.await(Condition::Kind::ReadoutBegun);
    if (run.anyReadOut())
        return std::nullopt;
    run.await(Condition::Kind::Erased);
    return run.peakMemoryMebibytes();
}

/// A busy machine needs slower pods.
double peakMebibytes(quint32 size_bytes, quint32 bytes_per_second)
{
    std::optional<double> peak;
    for (; !peak; bytes_per_second /= 2)
        peak = peakMebibytesIfAtOnce(size_bytes, bytes_per_second);
    return *peak;
}

void printRoad(QTextStream& out, const Road& road)
{
    printRow(out,
             "thirty pods x 8 MiB at 1.2 MB/s, first plug to archive on the stick, over the floor",
             road.on_stick_seconds, road.floor_seconds, "s", "<= 1.10");
    printRow(out, "CPU per MB archived, over `sha256sum` + `cp` + `zip -6`",
             road.cpu_seconds / road.megabytes * 1000,
             commonToolsCpuSeconds(road.pods) / road.megabytes * 1000, "ms/MB", "<= 0.75");
}

void printMemory(QTextStream& out)
{
    // On a quiet machine the last pod starts well before the first is done.
    const double small = peakMebibytes(1 * kMebibyte, 90'000);
    const double large = peakMebibytes(64 * kMebibyte, 5'000'000);
    printRow(out, "peak memory of thirty downloads at once, 64 MiB over 1 MiB recordings", large,
             small, "MiB", "<= 1.05");
}

void printMoments(QTextStream& out, const Road& road)
{
    out << "\n| moment of the median road | s after the first plug |\n|---|---|\n"
        << "| the floor: last pod's start, and its recording at the wire's speed | "
        << number(road.floor_seconds, 1) << " |\n"
        << "| last pod read out | " << number(road.read_out_seconds, 1) << " |\n"
        << "| last pod archived and erased | " << number(road.archived_seconds, 1) << " |\n"
        << "| archive on the stick, as the screen says | " << number(road.on_stick_seconds, 1)
        << " |\n";
}

void printRange(QTextStream& out, const std::vector<Road>& roads)
{
    out << "\nThe roads took " << number(roads.front().on_stick_seconds, 1) << " to "
        << number(roads.back().on_stick_seconds, 1) << " s.\n";
}

void measureAndPrintRoads(QTextStream& out, const char* of_what, RecordingContent content)
{
    out << "\nRecordings of " << of_what << ":\n\n";
    printHead(out);
    const std::vector<Road> roads = measureRoads(content);
    const Road& median = roads.at(kRoads / 2);
    printRoad(out, median);
    printMoments(out, median);
    printRange(out, roads);
}

void measureAndPrintMemory(QTextStream& out)
{
    out << '\n';
    printHead(out);
    printMemory(out);
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    return figures::print([&](QTextStream& out) {
        if (!arguments.contains(QStringLiteral("--memory"))) {
            measureAndPrintRoads(out, "noise", RecordingContent::Noise);
            measureAndPrintRoads(out, "motion", RecordingContent::Motion);
        }
        if (!arguments.contains(QStringLiteral("--road")))
            measureAndPrintMemory(out);
    });
}
