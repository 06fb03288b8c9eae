#include "bench/servicetimes.h"

#include <algorithm>
#include <utility>

void ServiceTimes::plugged(const SlotSet& slot_set, qint64 now_ms)
{
    for (const int slot : slotsIn(slot_set))
        m_waiting_since_ms.at(slot) = now_ms;
}

void ServiceTimes::left(const SlotSet& slot_set, qint64 now_ms)
{
    noteWaits(slot_set, now_ms);
    for (const int slot : slotsIn(slot_set))
        m_waiting_since_ms.at(slot).reset();
}

void ServiceTimes::stationStarted(qint64 now_ms)
{
    if (std::exchange(m_running, true))
        return;
    for (auto& since_ms : m_waiting_since_ms)
        if (since_ms)
            since_ms = now_ms;
}

void ServiceTimes::stationEnded(qint64 now_ms)
{
    noteWaits(firstSlots(kSlotCount), now_ms);
    m_running = false;
}

void ServiceTimes::noteWaits(const SlotSet& slot_set, qint64 now_ms)
{
    for (const int slot : slotsIn(slot_set))
        if (const auto since_ms = m_waiting_since_ms.at(slot); m_running && since_ms)
            m_longest_ms.at(slot) = std::max(m_longest_ms.at(slot), now_ms - *since_ms);
}
