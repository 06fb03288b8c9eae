#include "bus/memorychip.h"

#include <algorithm>

namespace {
constexpr int kEui48At = 0xFA;
constexpr int kEui48Bytes = 6;
} // namespace

MemoryChip::MemoryChip(const QByteArray& eui48)
{
    Q_ASSERT(eui48.size() == kEui48Bytes);
    m_memory.fill('\xFF');
    std::copy(eui48.begin(), eui48.end(), m_memory.begin() + kEui48At);
}

void MemoryChip::write(const QByteArray& bytes)
{
    if (!bytes.isEmpty())
        m_pointer = quint8(bytes.front());
}

QByteArray MemoryChip::read(int length_bytes)
{
    QByteArray bytes;
    while (bytes.size() < length_bytes)
        bytes.append(m_memory.at(m_pointer++));
    return bytes;
}
