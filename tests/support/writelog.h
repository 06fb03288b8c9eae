#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

/// One entry of the log that the kernel's dm-log-writes target keeps of a disk. A plain write is
/// logged when a flush has put it beyond the disk's cache, one past the cache when it has ended.
struct LoggedWrite
{
    qint64 offset_bytes = 0;
    QByteArray data;       ///< empty: nothing was written
    QString mark;          ///< put there by a message to the target; empty: it is none
    bool flush = false;    ///< all that was logged before is beyond the cache
    bool forced = false;   ///< the write is, itself
    bool metadata = false; ///< the file system's own
};

/// In the order of the log, without what was discarded. Throws BadInput when the image holds no
/// such log, or not all of it.
std::vector<LoggedWrite> readWriteLog(const QString& image);
