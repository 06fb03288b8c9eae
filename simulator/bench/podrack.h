#pragma once

#include "archives/archivecheck.h"
#include "bus/podbus.h"
#include "common/slotset.h"
#include "scenario/podplan.h"

#include <array>
#include <map>
#include <optional>
#include <tuple>
#include <vector>

/// The thirty places and the pods that are, or were, in them; keeps account of every recording that
/// was ever erased. Lives on the bench's thread, owned by the bench. Throws BadInput when asked to
/// plug into a taken slot or to unplug an empty one.
class PodRack
{
public:
    /// The bus must outlive it; firmware: the one that transfers to be resumed began with.
    explicit PodRack(PodBus& bus, quint64 seed, std::optional<Firmware> firmware = {});

    void setPlan(int slot, const PodPlan& plan);
    void setFault(const SlotSet& slot_set, PodFault fault);
    /// A pod that was erased comes back with a new recording, any other with the one it had; what
    /// it has of a firmware it keeps, unless a new plan says otherwise. It may come from another
    /// slot, which it has left by then.
    void plug(const SlotSet& slot_set);
    void unplug(const SlotSet& slot_set);

    SlotSet plugged() const;
    /// Of the last pod of that slot.
    PodReport report(int slot) const { return m_bus.report(slot); }
    std::optional<PodSettings> lastPod(int slot) const { return m_places.at(slot).pod; }

    /// Of the last pods of these slots.
    std::vector<KnownRecording> recordings(const SlotSet& slot_set) const;
    /// Every recording that exists in no pod any more.
    std::vector<KnownRecording> erasedRecordings() const;

private:
    struct Place
    {
        PodPlan plan;
        std::optional<PodSettings> pod;
        int home_slot = -1;    ///< of that pod
        bool retired = false;  ///< it has been elsewhere since
        bool replanned = true; ///< since the last pod was plugged in
    };
    void plugOne(int slot);
    PodSettings nextPod(int slot, int home_slot) const;
    KnownRecording recordingOf(int slot, const PodSettings& pod) const;
    void retire(int slot);

    PodBus& m_bus;
    quint64 m_seed;
    std::optional<Firmware> m_firmware;
    std::array<Place, kSlotCount> m_places;
    std::array<int, kSlotCount> m_generations{};              ///< recordings erased, by home
    std::array<std::optional<int>, kSlotCount> m_last_slot{}; ///< by home
    std::vector<KnownRecording> m_erased;
    /// By what a recording is made from.
    mutable std::map<std::tuple<quint64, quint32, RecordingContent>, QByteArray> m_digests;
};
