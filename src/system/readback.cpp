#include "system/readback.h"

#include "system/checksum.h"
#include "system/storagefile.h"

#include <algorithm>
#include <fcntl.h>
#include <unistd.h>

namespace readback {

namespace {

constexpr qint64 kPageBytes = 4096;

/// From the page that holds `offset` to the end: of a page asked for in part nothing is dropped.
bool dropCached(int fd, qint64 offset)
{
    return ::posix_fadvise(fd, offset - offset % kPageBytes, 0, POSIX_FADV_DONTNEED) == 0;
}

bool goTo(int fd, qint64 offset)
{
    return dropCached(fd, offset) && ::lseek(fd, offset, SEEK_SET) == offset;
}

struct Block
{
    QByteArray bytes = QByteArray(int(storage::kBlockBytes), Qt::Uninitialized);
    qint64 length = 0; ///< -1 after an error

    bool readFrom(int fd, qint64 most = storage::kBlockBytes)
    {
        length = storage::readBlock(fd, bytes.data(), most);
        return length >= 0;
    }
    bool operator==(const Block& other) const
    {
        return length == other.length &&
               std::equal(bytes.cbegin(), bytes.cbegin() + int(length), other.bytes.cbegin());
    }
};

} // namespace

std::optional<quint32> crc32(int fd, qint64 offset, qint64 bytes)
{
    if (!goTo(fd, offset))
        return std::nullopt;
    Checksum checksum;
    Block block;
    while (bytes > 0) {
        if (!block.readFrom(fd, std::min(bytes, storage::kBlockBytes)) || block.length == 0)
            return std::nullopt;
        checksum.add(block.bytes.constData(), block.length);
        bytes -= block.length;
    }
    return checksum.value();
}

std::optional<QByteArray> range(int fd, qint64 offset, qint64 bytes)
{
    return dropCached(fd, offset) ? storage::readRange(fd, offset, bytes) : std::nullopt;
}

bool holds(int fd, qint64 offset, const QByteArray& bytes)
{
    return range(fd, offset, bytes.size()) == bytes;
}

std::optional<quint32> crc32(const QString& path)
{
    const UniqueFd fd = storage::openRegular(path, O_RDONLY);
    const qint64 bytes = fd ? storage::sizeOf(fd.get()) : -1;
    const auto value = bytes < 0 ? std::nullopt : crc32(fd.get(), 0, bytes);
    // Whoever reads it next is to see the storage, too, not what was read here.
    return value && dropCached(fd.get(), 0) ? value : std::nullopt;
}

bool same(const QString& one, const QString& other)
{
    const UniqueFd first = storage::openRegular(one, O_RDONLY);
    const UniqueFd second = storage::openRegular(other, O_RDONLY);
    if (!first || !second || !goTo(first.get(), 0) || !goTo(second.get(), 0))
        return false;
    Block here;
    Block there;
    do {
        if (!here.readFrom(first.get()) || !there.readFrom(second.get()) || !(here == there))
            return false;
    } while (here.length > 0);
    return true;
}

} // namespace readback
