#include "bench/servicetimes.h"

#include <algorithm>
#include <utility>

void ServiceTimes::plugged(const SlotSet& slot_set, qint64 now_ms)
{
    for (int slot = 0; slot < kSlotCount; ++slot)
        if (slot_set.test(slot))
            m_waiting_since_ms.at(slot) = now_ms;
}

void ServiceTimes::left(const SlotSet& slot_set, qint64 now_ms)
{
    for (int slot = 0; slot < kSlotCount; ++slot) {
        auto& since_ms = m_waiting_since_ms.at(slot);
        if (!slot_set.test(slot) || !since_ms)
            continue;
        if (m_running)
            m_longest_ms.at(slot) = std::max(m_longest_ms.at(slot), now_ms - *since_ms);
        since_ms.reset();
    }
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
    for (int slot = 0; slot < kSlotCount; ++slot)
        if (m_running && m_waiting_since_ms.at(slot))
            m_longest_ms.at(slot) =
                std::max(m_longest_ms.at(slot), now_ms - *m_waiting_since_ms.at(slot));
    m_running = false;
}
