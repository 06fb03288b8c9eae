#include "bench/podrack.h"

#include "common/badinput.h"

PodRack::PodRack(PodBus& bus, quint64 seed, std::optional<Firmware> firmware)
    : m_bus(bus)
    , m_seed(seed)
    , m_firmware(std::move(firmware))
{
}

void PodRack::setPlan(int slot, const PodPlan& plan)
{
    m_places.at(slot).plan = plan;
    m_places.at(slot).replanned = true;
}

void PodRack::setFault(const SlotSet& slot_set, PodFault fault)
{
    for (const int slot : slotsIn(slot_set))
        m_places.at(slot).plan.fault = fault;
}

void PodRack::plug(const SlotSet& slot_set)
{
    for (const int slot : slotsIn(slot_set))
        plugOne(slot);
}

void PodRack::plugOne(int slot)
{
    if (m_bus.plugged(slot))
        throw BadInput(QStringLiteral("slot %1 is taken").arg(slot));
    Place& place = m_places.at(slot);
    const int home_slot = place.plan.pod.value_or(slot);
    if (const auto last = m_last_slot.at(home_slot)) {
        if (m_bus.plugged(*last) && m_places.at(*last).home_slot == home_slot)
            throw BadInput(QStringLiteral("that pod is in slot %1").arg(*last));
        retire(*last);
    }
    retire(slot);
    place.pod = nextPod(slot, home_slot);
    place.home_slot = home_slot;
    place.retired = place.replanned = false;
    m_last_slot.at(home_slot) = slot;
    m_bus.plug(slot, *place.pod);
}

PodSettings PodRack::nextPod(int slot, int home_slot) const
{
    const Place& place = m_places.at(slot);
    PodSettings next = settingsFor(place.plan, home_slot, m_seed, m_generations.at(home_slot));
    const auto last = m_last_slot.at(home_slot);
    const bool known = last && m_places.at(*last).home_slot == home_slot &&
                       m_places.at(*last).pod->udid == next.udid;
    if (known && !(place.replanned && place.plan.beginsInBootloader()))
        next.flash = m_bus.flash(*last);
    else
        prepareBootloader(next, place.plan, m_firmware);
    return next;
}

void PodRack::unplug(const SlotSet& slot_set)
{
    for (const int slot : slotsIn(slot_set)) {
        if (!m_bus.plugged(slot))
            throw BadInput(QStringLiteral("slot %1 is empty").arg(slot));
        m_bus.unplug(slot);
    }
}

SlotSet PodRack::plugged() const
{
    SlotSet slot_set;
    for (int slot = 0; slot < kSlotCount; ++slot)
        slot_set.set(slot, m_bus.plugged(slot));
    return slot_set;
}

std::vector<KnownRecording> PodRack::recordings(const SlotSet& slot_set) const
{
    std::vector<KnownRecording> list;
    for (const int slot : slotsIn(slot_set))
        if (m_places.at(slot).pod)
            list.push_back(recordingOf(slot, *m_places.at(slot).pod));
    return list;
}

std::vector<KnownRecording> PodRack::erasedRecordings() const
{
    SlotSet erased;
    for (int slot = 0; slot < kSlotCount; ++slot)
        erased.set(slot,
                   m_places.at(slot).pod && !m_places.at(slot).retired && report(slot).erased);
    std::vector<KnownRecording> list = recordings(erased);
    list.insert(list.end(), m_erased.begin(), m_erased.end());
    return list;
}

KnownRecording PodRack::recordingOf(int slot, const PodSettings& pod) const
{
    QByteArray& digest = m_digests[{pod.seed, pod.size_bytes, pod.content}]; // it takes its time
    if (digest.isEmpty())
        digest = pod.recording().sha256();
    return {slot, recordingName(pod.udid), pod.size_bytes, digest};
}

/// The bus forgets a pod when the next one takes its place, and the pod itself what it was.
void PodRack::retire(int slot)
{
    Place& place = m_places.at(slot);
    if (!place.pod || place.retired || !report(slot).erased)
        return;
    m_erased.push_back(recordingOf(slot, *place.pod));
    ++m_generations.at(place.home_slot);
    place.retired = true;
}
