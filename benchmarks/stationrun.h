#pragma once

#include "bench/bench.h"

/// One run of the unmodified station, for figures. Lives on the main thread. Everything that does
/// not go as it must throws std::runtime_error, since figures of a failed run say nothing.
class StationRun
{
public:
    explicit StationRun(Scenario scenario);

    /// Milliseconds since the start when the condition first held.
    qint64 await(Condition::Kind kind, const QString& text = {}, int number = 0);
    /// True when pods are plugged whose read-out is complete.
    bool anyReadOut() const;
    double cpuSeconds() const;
    double peakMemoryMebibytes() const;
    double recordedMegabytes() const;
    std::vector<PodSettings> pods() const;
    /// Quits the station; everything must be as the scenario expects it.
    void endAndJudge();

private:
    Scenario m_scenario;
    Bench m_bench;
};
