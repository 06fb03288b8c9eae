#pragma once

#include "pod/bootloader.h"
#include "pod/podfault.h"
#include "pod/podflash.h"
#include "pod/recording.h"

#include <QByteArray>

#include <chrono>

/// How one pod is made.
struct PodSettings
{
    QByteArray udid; ///< 8 bytes
    /// Another product of the pods' maker, which is none of the station's business; 0: a pod.
    quint16 foreign_product = 0;
    quint64 seed = 0;
    quint32 size_bytes = 0;
    RecordingContent content = RecordingContent::Noise;
    quint32 bytes_per_second = 1'200'000; ///< 0: as fast as it goes
    int polls_until_charged = 3;          ///< polls answered "charging" before the first "full"
    PodFault fault = PodFault::None;
    /// Data bytes sent before it leaves, for UnpluggedAtByte; bytes of the image received, for
    /// DisconnectAtByte.
    quint32 unplug_at_byte = 0;
    BootloaderSettings bootloader; ///< but for its fault, which is this pod's
    PodFlash flash;
    std::chrono::milliseconds restart_time{300}; ///< from leaving the bus to coming back

    Recording recording() const { return {seed, size_bytes, content}; }
};
