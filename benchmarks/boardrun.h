#pragma once

#include "bench/bench.h"
#include "machine/machinesite.h"

/// Pods that are all alike, in no place yet.
Scenario podsOf(quint32 size_bytes, quint32 bytes_per_second, int polls_until_charged);

/// One run of the station on its board, or on another computer, whose clock is tied to
/// instructions: all figures are of that clock and of what the board's own kernel counts. Lives on
/// the main thread. What does not go as it must throws std::runtime_error.
class BoardRun
{
public:
    /// What the station has used since its start, in seconds of its processor.
    struct Usage
    {
        double own = 0;
        double ended_children = 0;
        double at = 0; ///< seconds since the power came

        double total() const { return own + ended_children; }
    };

    /// station: the program, where this machine has it.
    BoardRun(const Computer& computer, const QString& station, const Scenario& scenario);

    void await(const Condition& condition);
    /// The output of a command on the board.
    QStringList ask(const QString& command);
    double uptimeSeconds();
    /// The oldest of that name: a child that is about to become another program has it, too.
    QString stationPid();
    Usage usage();
    /// How often the station's threads began to wait since their start, so how often they woke.
    double wakeUps();
    double availableMebibytes();
    /// Onto the station's disk since the power came, all that was to be written included.
    double writtenMegabytes();
    void plug(const SlotSet& slot_set) { m_bench->perform(verb::Plug{slot_set, {}}); }
    bool holds(const Condition& condition) const { return m_bench->holds(condition); }
    double recordedMegabytes() const;

private:
    void awaitUntil(const std::function<bool()>& done, const QString& what);

    MachineSite* m_site = nullptr; ///< the bench's
    QString m_station_pid;
    std::unique_ptr<Bench> m_bench;
};
