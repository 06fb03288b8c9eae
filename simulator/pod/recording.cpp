#include "pod/recording.h"

#include <QCryptographicHash>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

namespace {

quint64 mixed(quint64 seed, quint64 index)
{
    quint64 mixed = seed + (index + 1) * 0x9E3779B97F4A7C15;
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EB;
    return mixed ^ (mixed >> 31);
}

/// Four samples of a twelve-bit converter.
struct NoiseUnit
{
    static constexpr quint32 kBytes = 8;

    static void write(quint64 seed, quint64 index, char* out)
    {
        const quint64 samples = mixed(seed, index) & 0x0FFF0FFF0FFF0FFF;
        std::memcpy(out, &samples, kBytes);
    }
};

/// One sample, little-endian: milliseconds, three axes, temperature. A quarter of the time it is
/// carried about.
struct MotionUnit
{
    static constexpr quint32 kBytes = 12;

    static void write(quint64 seed, quint64 index, char* out)
    {
        constexpr quint64 kSamplesInBout = 4096;
        const bool moves = mixed(~seed, index / kSamplesInBout) % 4 == 0;
        const quint64 noise = mixed(seed, index);
        qToLittleEndian(quint32(index * 10), out);
        out += sizeof(quint32);
        for (int axis = 0; axis < 3; ++axis, out += sizeof(qint16))
            qToLittleEndian(acceleration(index, axis, noise >> (16 * axis), moves), out);
        qToLittleEndian(qint16(2150 + index / 1000 % 300 + (noise >> 48) % 3), out);
    }

    static qint16 acceleration(quint64 index, int axis, quint64 noise, bool moves)
    {
        const int resting = (axis == 2 ? 1024 : 10 * axis) + int(noise % 8);
        if (!moves)
            return qint16(resting);
        const int period = 97 + 26 * axis;
        const int swing = std::abs(int(index % quint64(period)) - period / 2) * 12;
        return qint16(resting + swing + int(noise % 64));
    }
};

template <typename Unit>
void readUnits(quint64 seed, quint32 offset_bytes, char* out, quint32 left_bytes)
{
    quint64 index = offset_bytes / Unit::kBytes;
    quint32 skip = offset_bytes % Unit::kBytes;
    while (left_bytes > 0) {
        std::array<char, Unit::kBytes> unit{};
        Unit::write(seed, index++, unit.data());
        const quint32 part = std::min(left_bytes, Unit::kBytes - skip);
        std::memcpy(out, unit.data() + skip, part);
        out += part;
        left_bytes -= part;
        skip = 0;
    }
}

} // namespace

void Recording::read(quint32 offset_bytes, char* out, int length_bytes) const
{
    Q_ASSERT(quint64(offset_bytes) + quint64(length_bytes) <= m_size_bytes);
    const auto read =
        m_content == RecordingContent::Noise ? readUnits<NoiseUnit> : readUnits<MotionUnit>;
    read(m_seed, offset_bytes, out, quint32(length_bytes));
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
