#pragma once

#include "pod/bootloader.h"

#include <QByteArray>
#include <QtGlobal>

enum class PodMode { Normal, Bootloader };

/// The host's settings of a serial line, as they came.
struct SerialLine
{
    int state = -1; ///< bit 0 DTR, bit 1 RTS; -1 before it was set
    QByteArray coding;
};

/// What a pod has seen since it was plugged in.
struct PodReport
{
    bool opened = false;
    bool erased = false;
    int readouts_begun = 0;
    int readouts_completed = 0; ///< sent to the last byte of the digest, right or wrong
    quint64 bytes_sent = 0;     ///< recorded data alone, of the last read-out
    int charge_polls = 0;
    bool charged = false;
    PodMode mode = PodMode::Normal;
    int updates_completed = 0;
    QByteArray firmware_sha256; ///< of what it runs, or ran before it got into its bootloader
    BootloaderReport bootloader;
    SerialLine line;
};

/// It came back from its bootloader with what it was sent.
inline bool isUpdated(const PodReport& pod)
{
    return pod.mode == PodMode::Normal && pod.updates_completed > 0;
}

enum class PodEvent {
    ReadoutBegun,
    ReadoutCompleted,
    Erased,
    Charged,
    Restarting, ///< it leaves the bus and will be back, perhaps in the other mode
    Restarted,  ///< it is back
    Vanished    ///< it leaves the bus for good
};
