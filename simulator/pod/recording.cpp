#include "pod/recording.h"

#include <QCryptographicHash>

#include <algorithm>
#include <array>
#include <cstring>

namespace {
constexpr quint64 kWordBytes = sizeof(quint64);
}

quint64 Recording::word(quint64 index) const
{
    quint64 mixed = m_seed + (index + 1) * 0x9E3779B97F4A7C15;
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EB;
    mixed ^= mixed >> 31;
    // Four samples of a twelve-bit converter: the archive has as much to compress as in the field.
    return mixed & 0x0FFF0FFF0FFF0FFF;
}

void Recording::read(quint32 offset_bytes, char* out, int length_bytes) const
{
    Q_ASSERT(quint64(offset_bytes) + quint64(length_bytes) <= m_size_bytes);
    quint64 index = offset_bytes / kWordBytes;
    quint64 skip = offset_bytes % kWordBytes;
    auto left = quint64(length_bytes);
    while (left > 0) {
        const quint64 samples = word(index++);
        const quint64 part = std::min(left, kWordBytes - skip);
        std::memcpy(out, reinterpret_cast<const char*>(&samples) + skip, part);
        out += part;
        left -= part;
        skip = 0;
    }
}

bool Recording::eachBlock(const std::function<bool(const char*, int)>& take) const
{
    std::array<char, 65536> block{};
    for (quint64 offset = 0; offset < m_size_bytes; offset += block.size()) {
        const auto length = int(std::min<quint64>(block.size(), m_size_bytes - offset));
        read(quint32(offset), block.data(), length);
        if (!take(block.data(), length))
            return false;
    }
    return true;
}

QByteArray Recording::sha256() const
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    eachBlock([&hash](const char* data, int length_bytes) {
        hash.addData(data, length_bytes);
        return true;
    });
    return hash.result();
}
