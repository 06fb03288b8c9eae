#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// What the storage itself holds, past the system's cache: a medium may refuse what the cache took,
/// or keep half of it, and say nothing. Only for what was flushed; of the rest the cache alone
/// knows. Reentrant, no state; nothing, or false, when it cannot be read.
namespace readback {

/// The CRC-32 of exactly `bytes` bytes from `offset` on.
std::optional<quint32> crc32(int fd, qint64 offset, qint64 bytes);

/// Exactly `bytes` bytes from `offset` on.
std::optional<QByteArray> range(int fd, qint64 offset, qint64 bytes);

/// Whether `offset` is followed by these bytes.
bool holds(int fd, qint64 offset, const QByteArray& bytes);

/// The CRC-32 of a whole file.
std::optional<quint32> crc32(const QString& path);

/// Whether both files hold the same bytes.
bool same(const QString& one, const QString& other);

} // namespace readback
