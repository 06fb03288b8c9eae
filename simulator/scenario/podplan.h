#pragma once

#include "common/bytesize.h"
#include "pod/podmodel.h"
#include "scenario/firmware.h"

#include <QByteArray>

#include <optional>

/// What is to be plugged into one slot. Values left open follow from the slot and the bench's seed,
/// so that a run can be repeated exactly.
struct PodPlan
{
    /// Which of the bench's pods it is, by the slot where it is at home; none: this slot's. A pod
    /// that moves takes its recording along.
    std::optional<int> pod;
    SizeRange size{8 * 1024 * 1024, 8 * 1024 * 1024};
    RecordingContent content = RecordingContent::Noise;
    quint32 bytes_per_second = 1'200'000;
    int polls_until_charged = 3;
    PodFault fault = PodFault::None;
    quint32 unplug_at_byte = 0;
    std::optional<QByteArray> udid; ///< 8 bytes
    bool in_bootloader = false;     ///< when it is plugged in
    /// So much of the new firmware has arrived in its bootloader, from a transfer that broke off.
    std::optional<quint32> resume_at_byte;

    bool beginsInBootloader() const { return in_bootloader || resume_at_byte; }
};

/// generation counts the recordings that the pod has brought: the pod stays the same.
PodSettings settingsFor(const PodPlan& plan, int home_slot, quint64 bench_seed, int generation);

/// Gives the pod what the plan says of its bootloader. Throws BadInput when the plan has more of
/// the firmware than there is; there may be none.
void prepareBootloader(PodSettings& settings, const PodPlan& plan,
                       const std::optional<Firmware>& firmware);

/// The name under which the station files a pod's recording: the identifier's first 15 hexadecimal
/// digits. The sixteenth is not used.
QString recordingName(const QByteArray& udid);

/// Throws BadInput.
PodFault faultFromText(const QString& text);
