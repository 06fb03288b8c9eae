#include "system/checksum.h"

#include <algorithm>
#include <limits>
#include <zlib.h>

void Checksum::add(const char* data, qint64 bytes)
{
    m_bytes += bytes;
    while (bytes > 0) {
        const auto part = uInt(std::min<qint64>(bytes, std::numeric_limits<uInt>::max()));
        m_value = quint32(::crc32(m_value, reinterpret_cast<const Bytef*>(data), part));
        data += part;
        bytes -= part;
    }
}

void Checksum::add(const Checksum& other)
{
    m_value = quint32(::crc32_combine(m_value, other.m_value, z_off_t(other.m_bytes)));
    m_bytes += other.m_bytes;
}
