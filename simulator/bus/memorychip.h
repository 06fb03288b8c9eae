#pragma once

#include <QByteArray>

#include <array>

/// The chip that holds the station's serial number: 256 bytes behind an address pointer, the EUI-48
/// in the last six. Belongs to the bus that it is on; never fails.
class MemoryChip
{
public:
    static constexpr int kAddress = 0x51; ///< on its bus
    static QByteArray defaultEui48() { return QByteArray::fromHex("0004A3123456"); }

    explicit MemoryChip(const QByteArray& eui48 = defaultEui48());

    /// The first byte is the address; what follows would be stored, but this part is protected.
    void write(const QByteArray& bytes);
    /// After the last byte comes the first one.
    QByteArray read(int length_bytes);

private:
    std::array<char, 256> m_memory{};
    quint8 m_pointer = 0;
};
