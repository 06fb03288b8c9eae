// Prints what the pods' firmware update costs, as ratios of figures taken in the same run, in a
// table for the README of this folder: the real program at the bench.
#include "figures.h"
#include "stationrun.h"

#include <QCoreApplication>

#include <algorithm>

namespace {

constexpr quint32 kKibibyte = 1024;
constexpr double kRestartSeconds = 0.3;

/// Of the pods that are updated at once.
struct Updates
{
    double slowest_seconds;
    double bus_bytes; ///< sent to one pod
    double image_bytes;
};

Updates measure(int pods, quint32 image_bytes, quint32 bytes_per_second)
{
    PodPlan plan;
    plan.size = {kKibibyte, kKibibyte};
    plan.bytes_per_second = bytes_per_second;
    FirmwarePlan firmware;
    firmware.size_bytes = image_bytes;
    StationRun run(plainUpdate(plan, firstSlots(pods), firmware, {}));
    const std::vector<double> seconds = run.awaitUpdates(firstSlots(pods));
    const BootloaderReport report = run.report(0).bootloader;
    run.endAndJudge();
    return {*std::max_element(seconds.begin(), seconds.end()), double(report.bus_bytes),
            double(report.image_bytes)};
}

void printFloor(QTextStream& out)
{
    constexpr quint32 kSpeed = 100'000;
    const Updates one = measure(1, 256 * kKibibyte, kSpeed);
    figures::printRow(out, "one pod, 256 KiB at 100 kB/s, over the floor of its bus time",
                      one.slowest_seconds, one.bus_bytes / kSpeed + kRestartSeconds, "s", "<= 1.3");
    figures::printRow(out, "bytes sent to that pod over the image's, at an MTU of 131",
                      one.bus_bytes, one.image_bytes, "bytes", "<= 1.06");
}

void printThirty(QTextStream& out)
{
    constexpr quint32 kSpeed = 5'000;
    const Updates one = measure(1, 64 * kKibibyte, kSpeed);
    const Updates thirty = measure(kSlotCount, 64 * kKibibyte, kSpeed);
    figures::printRow(out, "the slowest of thirty at once, 64 KiB at 5 kB/s, over one alone",
                      thirty.slowest_seconds, one.slowest_seconds, "s", "<= 1.2");
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    return figures::print([](QTextStream& out) {
        figures::printHead(out);
        printFloor(out);
        printThirty(out);
    });
}
