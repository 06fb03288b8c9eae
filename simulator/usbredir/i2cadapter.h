#pragma once

#include "bus/memorychip.h"
#include "usbredir/usbfunction.h"

/// A USB adapter for an I²C bus, of the kind that the kernel's driver i2c-tiny-usb knows, with the
/// serial-number memory as the only chip on its bus. Not thread-safe; owned by its function.
///
/// | request | wValue | wIndex       | what                                                   |
/// |---------|--------|--------------|--------------------------------------------------------|
/// | 1       |        |              | reads what it can do: 4 bytes, little-endian           |
/// | 2       | µs     |              | half of the clock's period                             |
/// | 3       |        |              | reads how the last message went: 1 acknowledged, 2 not |
/// | 4 to 7  | flags  | chip address | a message; bit 0 begins and bit 1 ends a transaction   |
class I2cAdapter
{
public:
    /// What a port can hold; it has an adapter of its own.
    static UsbFunction function();

    std::optional<QByteArray> control(const QByteArray& setup, const QByteArray& data);

private:
    std::optional<QByteArray> command(const QByteArray& setup, const QByteArray& data);
    QByteArray message(const QByteArray& setup, const QByteArray& data);

    MemoryChip m_chip;
    char m_status = 0;
};
