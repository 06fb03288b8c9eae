#pragma once

#include "common/slotset.h"

#include <array>
#include <optional>

/// How long recordings wait for the station, slot by slot: from the moment at which both pod and
/// station are there until the recording is erased or one of them is gone. All moments are
/// milliseconds of one clock. Pure.
class ServiceTimes
{
public:
    void plugged(const SlotSet& slot_set, qint64 now_ms);
    /// Also when their recordings were erased.
    void left(const SlotSet& slot_set, qint64 now_ms);
    /// Nothing happens when it runs already.
    void stationStarted(qint64 now_ms);
    void stationEnded(qint64 now_ms);

    qint64 longestMs(int slot) const { return m_longest_ms.at(slot); }

private:
    void noteWaits(const SlotSet& slot_set, qint64 now_ms);

    std::array<std::optional<qint64>, kSlotCount> m_waiting_since_ms{};
    std::array<qint64, kSlotCount> m_longest_ms{};
    bool m_running = false;
};
