#pragma once

#include "bench/bench.h"

#include <functional>

/// One run of the unmodified station, for figures. Lives on the main thread. Everything that does
/// not go as it must throws std::runtime_error, since figures of a failed run say nothing.
class StationRun
{
public:
    explicit StationRun(Scenario scenario);

    /// Milliseconds since the start when the condition first held.
    qint64 await(Condition::Kind kind, const QString& text = {}, int number = 0);
    /// Seconds that the update of each of these places' pods took, all at once: from its
    /// bootloader's arrival to its return with the new image.
    std::vector<double> awaitUpdates(const SlotSet& slot_set);
    /// True when pods are plugged whose read-out is complete.
    bool anyReadOut() const;
    double cpuSeconds() const;
    double peakMemoryMebibytes() const;
    double recordedMegabytes() const;
    std::vector<PodSettings> pods() const;
    PodReport report(int slot) const { return m_bench.rack().report(slot); }
    /// Quits the station; everything must be as the scenario expects it.
    void endAndJudge();

private:
    void awaitUntil(const std::function<bool()>& done);

    Scenario m_scenario;
    Bench m_bench;
};
