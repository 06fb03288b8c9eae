#include "archive/zipdirectory.h"

#include "system/storagefile.h"

#include <QtEndian>

#include <sys/stat.h>

#include <algorithm>

namespace zipdirectory {

namespace {

// All numbers are little endian. End record: signature, 16-bit disk, directory's disk, entries on
// the disk, entries; 32-bit bytes and offset of the directory; 16-bit length of a comment.
constexpr int kEndRecordBytes = 22;
constexpr int kEndCountAt = 10;
constexpr int kEndDirectoryBytesAt = 12;
constexpr int kMaxCommentBytes = 0xFFFF;

// Entry: signature, ... 16-bit flags at 8, 32-bit CRC at 16 and unpacked size at 24, 16-bit lengths
// of name, extra field and comment at 28, 32-bit attributes at 38 (Unix mode in the upper half),
// name at 46.
constexpr int kEntryHeaderBytes = 46;
constexpr int kFlagsAt = 8;
constexpr int kCrcAt = 16;
constexpr int kUnpackedBytesAt = 24;
constexpr int kNameBytesAt = 28;
constexpr int kExtraBytesAt = 30;
constexpr int kCommentBytesAt = 32;
constexpr int kAttributesAt = 38;
constexpr quint32 kEncryptedFlag = 1;

/// Twice the largest that the station makes; a small board's memory has to hold it.
constexpr qint64 kMaxDirectoryBytes = qint64(16) * 1024 * 1024;

QByteArray endSignature()
{
    return QByteArrayLiteral("PK\x05\x06");
}

quint32 number16(const char* at)
{
    return qFromLittleEndian<quint16>(at);
}

quint32 number32(const char* at)
{
    return qFromLittleEndian<quint32>(at);
}

bool isEntryHeader(const QByteArray& directory, int at)
{
    return directory.size() - at >= kEntryHeaderBytes && directory.mid(at, 4) == "PK\x01\x02";
}

ZipEntry entryFrom(const char* header)
{
    ZipEntry entry;
    entry.name = QByteArray(header + kEntryHeaderBytes, int(number16(header + kNameBytesAt)));
    entry.crc32 = number32(header + kCrcAt);
    entry.unpacked_bytes = number32(header + kUnpackedBytesAt);
    entry.encrypted = (number16(header + kFlagsAt) & kEncryptedFlag) != 0;
    entry.unix_type = (number32(header + kAttributesAt) >> 16U) & S_IFMT;
    return entry;
}

int entryBytes(const char* header)
{
    return kEntryHeaderBytes + int(number16(header + kNameBytesAt)) +
           int(number16(header + kExtraBytesAt)) + int(number16(header + kCommentBytesAt));
}

} // namespace

std::optional<Extent> locate(const QByteArray& lastBytes, qint64 fileBytes)
{
    const int at = lastBytes.lastIndexOf(endSignature(), lastBytes.size() - kEndRecordBytes);
    if (lastBytes.size() < kEndRecordBytes || at < 0)
        return std::nullopt;
    const char* record = lastBytes.constData() + at;
    Extent extent;
    extent.entry_count = int(number16(record + kEndCountAt));
    extent.bytes = number32(record + kEndDirectoryBytesAt);
    // Counted back from the end record, so that bytes put before the archive do no harm.
    extent.offset = fileBytes - lastBytes.size() + at - extent.bytes;
    const bool sound = extent.offset >= 0 && extent.bytes <= kMaxDirectoryBytes &&
                       extent.entry_count <= kMaxEntries;
    return sound ? std::make_optional(extent) : std::nullopt;
}

std::optional<QVector<ZipEntry>> parse(const QByteArray& directory, int entryCount)
{
    QVector<ZipEntry> entries;
    int at = 0;
    while (entries.size() < entryCount) {
        if (!isEntryHeader(directory, at))
            return std::nullopt;
        const char* header = directory.constData() + at;
        const int bytes = entryBytes(header);
        if (bytes > directory.size() - at)
            return std::nullopt;
        entries.append(entryFrom(header));
        at += bytes;
    }
    return entries;
}

std::optional<Extent> find(int fd)
{
    const qint64 fileBytes = storage::sizeOf(fd);
    const qint64 lastBytes = std::min<qint64>(fileBytes, kMaxCommentBytes + kEndRecordBytes);
    const auto last = storage::readRange(fd, fileBytes - lastBytes, lastBytes);
    return last ? locate(*last, fileBytes) : std::nullopt;
}

std::optional<QVector<ZipEntry>> read(int fd)
{
    const auto extent = find(fd);
    if (!extent)
        return std::nullopt;
    const auto directory = storage::readRange(fd, extent->offset, extent->bytes);
    return directory ? parse(*directory, extent->entry_count) : std::nullopt;
}

QStringList names(const QVector<ZipEntry>& entries)
{
    QStringList names;
    names.reserve(entries.size());
    for (const ZipEntry& entry : entries)
        names.append(QString::fromUtf8(entry.name));
    return names;
}

QByteArray emptyArchive()
{
    return endSignature() + QByteArray(kEndRecordBytes - endSignature().size(), '\0');
}

} // namespace zipdirectory
