#include "archive/archivedevice.h"

#include "archive/archiveaddition.h"
#include "system/storagefile.h"

#include <algorithm>

ArchiveDevice::ArchiveDevice(ArchiveAddition& addition)
    : m_addition(addition)
{
    m_gathered.reserve(int(storage::kBlockBytes));
}

qint64 ArchiveDevice::size() const
{
    return std::max(m_addition.sizeBytes(), m_position);
}

bool ArchiveDevice::seek(qint64 position)
{
    if (!flush() || !QIODevice::seek(position))
        return false;
    m_position = position;
    return true;
}

bool ArchiveDevice::flush()
{
    if (m_gathered.isEmpty())
        return true;
    const bool written = m_addition.writeAt(m_position - m_gathered.size(), m_gathered);
    m_gathered.resize(0);
    return written;
}

qint64 ArchiveDevice::readData(char* data, qint64 maxBytes)
{
    if (!flush())
        return -1;
    const qint64 got = m_addition.readAt(m_position, data, maxBytes);
    m_position += std::max<qint64>(got, 0);
    return got;
}

qint64 ArchiveDevice::writeData(const char* data, qint64 bytes)
{
    if (m_gathered.size() + bytes > storage::kBlockBytes && !flush())
        return -1;
    m_gathered.append(data, int(bytes));
    m_position += bytes;
    return bytes;
}
