#pragma once

#include "usb/testbed.h"

#include <QByteArray>

#include <memory>

/// The memory chip with the station's serial number, at address 0x51 of the bus "/dev/i2c-3": 256
/// bytes behind an address pointer, the EUI-48 in the last six. The other addresses of the bus are
/// empty and answer ENXIO. Must not outlive the testbed; served on the testbed's worker thread.
class SerialNumberMemory
{
public:
    /// `eui48` has 6 bytes.
    explicit SerialNumberMemory(Testbed& testbed,
                                const QByteArray& eui48 = QByteArray::fromHex("0004A3123456"));
    SerialNumberMemory(const SerialNumberMemory&) = delete;
    SerialNumberMemory& operator=(const SerialNumberMemory&) = delete;
    SerialNumberMemory(SerialNumberMemory&&) = delete;
    SerialNumberMemory& operator=(SerialNumberMemory&&) = delete;
    ~SerialNumberMemory();

private:
    class Chip;

    std::shared_ptr<Chip> m_chip;
    GObjectRef<UMockdevIoctlBase> m_handler;
};
