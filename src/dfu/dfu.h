#pragma once

#include <QString>

class Pod;

/// One firmware update of one pod, from the package unpacked in "dfu". Lives on the stack of one
/// attempt, on the pod's worker thread, which it blocks. Throws DfuInvalidUpdateFile for a package
/// without an image, and whatever DfuTransportSerial throws.
class Dfu
{
public:
    /// Reads the manifest.
    explicit Dfu(Pod& pod);

    /// The init packet, then the image.
    void dfu_send_image();

private:
    Pod& m_pod;
    QString m_bin_file; ///< path of the firmware image
    QString m_dat_file; ///< path of the init packet
};
