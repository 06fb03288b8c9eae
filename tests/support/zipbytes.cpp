#include "support/zipbytes.h"

#include <QtEndian>

#include <zlib.h>

namespace zipbytes {

namespace {

template <typename Number>
QByteArray le(Number number)
{
    number = qToLittleEndian(number);
    return {reinterpret_cast<const char*>(&number), int(sizeof number)};
}

QByteArray le16(int number)
{
    return le(quint16(number));
}

QByteArray le32(qint64 number)
{
    return le(quint32(number));
}

QByteArray stored(const Entry& entry)
{
    // Without qCompress()'s length and zlib's header and checksum: the bare stream.
    return entry.deflated ? qCompress(entry.content).mid(6).chopped(4) : entry.content;
}

qint64 claimedCrc(const Entry& entry)
{
    const auto* content = reinterpret_cast<const Bytef*>(entry.content.constData());
    return entry.claimed_crc >= 0 ? entry.claimed_crc
                                  : qint64(crc32(0, content, uInt(entry.content.size())));
}

/// The fields that an entry's two headers share, from the flags to the length of the extra field.
QByteArray sharedFields(const Entry& entry)
{
    const qint64 size = entry.claimed_bytes >= 0 ? entry.claimed_bytes : entry.content.size();
    return le16(entry.flags) + le16(entry.deflated ? 8 : 0) + le16(0) + le16(0x21) +
           le32(claimedCrc(entry)) + le32(stored(entry).size()) + le32(size) +
           le16(entry.name.size()) + le16(0);
}

QByteArray directoryEntry(const Entry& entry, int offset)
{
    constexpr int kMadeOnUnix = 3 << 8;
    return "PK\x01\x02" + le16(kMadeOnUnix | 20) + le16(20) + sharedFields(entry) + le16(0) +
           le16(0) + le16(0) + le32(qint64(entry.unix_mode) << 16) + le32(offset) + entry.name;
}

} // namespace

QByteArray archive(const QVector<Entry>& entries)
{
    QByteArray bytes;
    QByteArray directory;
    for (const Entry& entry : entries) {
        directory += directoryEntry(entry, bytes.size());
        bytes += "PK\x03\x04" + le16(20) + sharedFields(entry) + entry.name + stored(entry);
    }
    const QByteArray end = "PK\x05\x06" + le16(0) + le16(0) + le16(entries.size()) +
                           le16(entries.size()) + le32(directory.size()) + le32(bytes.size()) +
                           le16(0);
    return bytes + directory + end;
}

} // namespace zipbytes
