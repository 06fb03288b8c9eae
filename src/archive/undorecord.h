#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// What puts an archive back as it was before an addition: its path, its size, and the bytes from
/// where the addition starts to its old end. A value, reentrant.
///
/// Encoded: 8 bytes of magic, the SHA-256 of all that follows, then a QDataStream (big endian) of
/// path (UTF-8), old size, tail offset and tail. decode() gives nothing for bytes that are not one
/// whole record: a record that was only half written protects nothing, as the archive is
/// overwritten only after it.
struct UndoRecord
{
    QString archive_path;
    qint64 old_size_bytes = 0;
    qint64 tail_offset = 0;
    QByteArray tail;

    QByteArray encode() const;
    static std::optional<UndoRecord> decode(const QByteArray& bytes);

    static constexpr int kMagicBytes = 8;
};
