#pragma once

#include "system/uniquefd.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

/// What the station needs of the storage and Qt does not give: every write, flush and folder flush
/// is checked and its failure told. Reentrant, no state; failure is false, -1 or an empty result
/// with errno as the system left it.
namespace storage {

constexpr qint64 kBlockBytes = qint64(256) * 1024;

/// Opens a regular file and nothing else: a pipe or a device in its place neither blocks nor is
/// read.
UniqueFd openRegular(const QString& path, int flags);

/// Creates a file that did not exist; an existing one, or a link, is a failure.
UniqueFd createNew(const QString& path);

qint64 sizeOf(int fd);

/// Whether a name leads to the file still.
bool hasName(int fd);

/// Fewer bytes than asked for mean the end of the file; -1 an error.
qint64 readBlock(int fd, char* buffer, qint64 bytes);

/// Exactly `bytes` bytes from `offset` on, or nothing.
std::optional<QByteArray> readRange(int fd, qint64 offset, qint64 bytes);

bool writeAll(int fd, const char* data, qint64 bytes);
bool writeAllAt(int fd, qint64 offset, const char* data, qint64 bytes);
bool truncate(int fd, qint64 bytes);

bool syncFile(int fd);
bool syncFile(const QString& path);

/// Flushes the entry of `path` in the folder that holds it.
bool syncFolderOf(const QString& path);

/// The names of the plain files in a folder, hidden ones left out, in rising order; nothing when it
/// cannot be listed whole, which must never pass for an empty folder.
std::optional<QStringList> listFiles(const QString& folder);

/// One level. True when its name will not go with the power, for what is in it would go too; false
/// also when the folder is there already.
bool makeFolder(const QString& path);

/// Another name in the same folder, on the storage when true; for what cannot be opened, too.
bool renameEntry(const QString& from, const QString& to);

/// Puts `from` in the place of whatever is at `to`, in one step that is on the storage when true.
bool replaceFile(const QString& from, const QString& to);

/// True when the file is gone from the storage, and will not come back with the power.
bool removeFile(const QString& path);

enum class CopyEnd {
    Done, ///< `target` holds all of `source`, and both it and its name are on the storage
    NotRead,
    NotWritten,
};
/// Where it is not done no part of `target` is left. One that exists already is not written, and
/// stays as it is.
CopyEnd copyFile(const QString& source, const QString& target);

} // namespace storage
