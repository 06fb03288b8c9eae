#pragma once

#include <QByteArray>

/// The bus that the pod's fuzz target has in place of libusb's, with one pod at the other end,
/// whose answers are bytes of the input. There is one of it; it is used on the main thread.
///
/// Each read takes one byte of the script: 0xFF, it fails; 0xFE, it brings the digest of all data
/// since the last read command; else, so many of the bytes behind it come, or as many as are asked
/// for.
namespace scriptedbus {

void begin(const QByteArray& script);
/// Every read from now on fails.
bool exhausted();

/// From now on the pod may be told to erase: before, its recording would be lost.
void allowErasing();

/// Of the last read-out, as the station has received it.
struct Readout
{
    int attempts = 0;
    quint32 announced_bytes = 0;
    QByteArray data; ///< what a short read left as it was included
    QByteArray digest;
};
const Readout& readout();

} // namespace scriptedbus
