#pragma once

#include "system/uniquefd.h"

#include <QByteArray>

#include <cstdint>
#include <string>

/// A file of the unpacked update package, of at most 64 MiB, from which every pod reads what it is
/// sent next: no update holds the image. It is read, not mapped: a block of the storage that cannot
/// be read fails one update, where the signal of a mapping would end the station.
///
/// Made for one update, on the pod's worker thread. Failures are DfuExceptions.
class UpdateFile
{
public:
    explicit UpdateFile(const std::string& path);

    uint32_t sizeBytes() const { return m_size_bytes; }
    /// Exactly so many bytes from the given one on.
    QByteArray read(uint32_t from_byte, uint32_t length_bytes) const;
    /// The CRC-32 of the bytes before `end_byte`.
    uint32_t crcUpTo(uint32_t end_byte) const;

    /// The CRC-32 of what `crc` is of, and of these bytes behind it.
    static uint32_t continuedCrc(uint32_t crc, const QByteArray& bytes);

private:
    UniqueFd m_fd;
    uint32_t m_size_bytes;
};
