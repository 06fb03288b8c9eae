#pragma once

#include <QByteArray>

/// What a pod keeps when it is unplugged, apart from its recording. A value.
struct PodFlash
{
    QByteArray firmware_sha256; ///< of the firmware that it runs, or ran last
    /// It starts into its bootloader, and does so until a whole image has arrived.
    bool in_bootloader = false;
    QByteArray init_packet; ///< the accepted one; empty while there is none
    QByteArray image;       ///< what of its image has been executed
};
