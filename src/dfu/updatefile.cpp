#include "dfu/updatefile.h"

#include "archive/zipextraction.h"
#include "dfu/dfuexception.h"
#include "system/storagefile.h"

#include <algorithm>
#include <fcntl.h>
#include <zlib.h>

namespace {

/// It was unpacked under the same limit.
uint32_t boundedSizeOf(const UniqueFd& fd)
{
    const qint64 size_bytes = fd ? storage::sizeOf(fd.get()) : -1;
    if (size_bytes < 0 || size_bytes > ZipExtraction::kMaxUnpackedBytes)
        throw DfuException("Failed to open update file");
    return static_cast<uint32_t>(size_bytes);
}

} // namespace

UpdateFile::UpdateFile(const std::string& path)
    : m_fd(storage::openRegular(QString::fromStdString(path), O_RDONLY))
    , m_size_bytes(boundedSizeOf(m_fd))
{
}

QByteArray UpdateFile::read(uint32_t from_byte, uint32_t length_bytes) const
{
    const auto bytes = storage::readRange(m_fd.get(), from_byte, length_bytes);
    if (!bytes)
        throw DfuException("Failed to read update file");
    return *bytes;
}

uint32_t UpdateFile::crcUpTo(uint32_t end_byte) const
{
    constexpr auto kBlockBytes = static_cast<uint32_t>(storage::kBlockBytes);
    uint32_t crc = 0;
    for (uint32_t at = 0; at < end_byte; at += kBlockBytes)
        crc = continuedCrc(crc, read(at, std::min(kBlockBytes, end_byte - at)));
    return crc;
}

uint32_t UpdateFile::continuedCrc(uint32_t crc, const QByteArray& bytes)
{
    const auto* data = reinterpret_cast<const Bytef*>(bytes.constData());
    return static_cast<uint32_t>(::crc32(crc, data, static_cast<uInt>(bytes.size())));
}
