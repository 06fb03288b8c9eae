#include "archive/undorecord.h"

#include "system/sha256.h"

#include <QDataStream>

namespace {

constexpr int kDigestBytes = 32;
constexpr auto kStreamVersion = QDataStream::Qt_5_15;

QByteArray magic()
{
    return QByteArrayLiteral("CVXUNDO1");
}

QByteArray digest(const QByteArray& payload)
{
    Sha256 digest;
    digest.add(payload.constData(), payload.size());
    return digest.result();
}

} // namespace

QByteArray UndoRecord::encode() const
{
    QByteArray payload;
    QDataStream stream(&payload, QIODevice::WriteOnly);
    stream.setVersion(kStreamVersion);
    stream << archive_path.toUtf8() << old_size_bytes << tail_offset << tail;
    return magic() + digest(payload) + payload;
}

std::optional<UndoRecord> UndoRecord::decode(const QByteArray& bytes)
{
    const QByteArray payload = bytes.mid(kMagicBytes + kDigestBytes);
    if (!bytes.startsWith(magic()) || bytes.mid(kMagicBytes, kDigestBytes) != digest(payload))
        return std::nullopt;
    UndoRecord record;
    QByteArray path;
    QDataStream stream(payload);
    stream.setVersion(kStreamVersion);
    stream >> path >> record.old_size_bytes >> record.tail_offset >> record.tail;
    record.archive_path = QString::fromUtf8(path);
    const bool whole = stream.status() == QDataStream::Ok && record.tail_offset >= 0 &&
                       record.tail_offset + record.tail.size() == record.old_size_bytes;
    return whole ? std::make_optional(record) : std::nullopt;
}
