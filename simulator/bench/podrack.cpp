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
    for (const int slot : slotsIn(slot_set)) {
        if (m_bus.plugged(slot))
            throw BadInput(QStringLiteral("slot %1 is taken").arg(slot));
        retire(slot);
        Place& place = m_places.at(slot);
        place.pod = nextPod(slot);
        place.replanned = false;
        m_bus.plug(slot, *place.pod);
    }
}

PodSettings PodRack::nextPod(int slot) const
{
    const Place& place = m_places.at(slot);
    PodSettings next = settingsFor(place.plan, slot, m_seed, place.generation);
    const bool known = place.pod && place.pod->udid == next.udid;
    if (known && !(place.replanned && place.plan.beginsInBootloader()))
        next.flash = m_bus.flash(slot);
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
        erased.set(slot, m_places.at(slot).pod && report(slot).erased);
    std::vector<KnownRecording> list = recordings(erased);
    list.insert(list.end(), m_erased.begin(), m_erased.end());
    return list;
}

KnownRecording PodRack::recordingOf(int slot, const PodSettings& pod) const
{
    QByteArray& digest = m_digests[{pod.seed, pod.size_bytes}]; // it takes its time
    if (digest.isEmpty())
        digest = Recording(pod.seed, pod.size_bytes).sha256();
    return {slot, recordingName(pod.udid), pod.size_bytes, digest};
}

/// The bus forgets a pod when the next one takes its place.
void PodRack::retire(int slot)
{
    Place& place = m_places.at(slot);
    if (!place.pod || !report(slot).erased)
        return;
    m_erased.push_back(recordingOf(slot, *place.pod));
    ++place.generation;
}
