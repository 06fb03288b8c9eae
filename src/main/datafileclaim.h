#pragma once

#include "system/uniquefd.h"

#include <QString>

/// The exclusive use of one pod's data file: who holds the name owns the file, and both go with
/// this object, first the file, then the name. Pods whose identifiers differ in the last digit
/// alone share a name, and one pod can be plugged in again while its file waits for the archive.
///
/// The name is held by an advisory lock on the file itself, so the two cannot come apart: what is
/// locked and still has its name is held. Reentrant; used on one thread at a time.
class DataFileClaim
{
public:
    enum class Result {
        Held,
        Taken,      ///< another pod holds the name
        Impossible, ///< the file can be neither opened nor made
    };

    DataFileClaim() = default;
    ~DataFileClaim();
    DataFileClaim(const DataFileClaim&) = delete;
    DataFileClaim& operator=(const DataFileClaim&) = delete;
    DataFileClaim(DataFileClaim&&) = delete;
    DataFileClaim& operator=(DataFileClaim&&) = delete;

    /// Never waits. Makes the file when there is none, and leaves its content as it is. Claiming
    /// again what is held already changes nothing.
    Result claim(const QString& path);
    /// The file goes, then the name.
    void release();
    /// The name is free for another pod, which then owns the file as well; a file that nobody took
    /// goes with this object.
    void yield();

private:
    bool lock() const;

    QString m_path;
    UniqueFd m_fd; ///< of the file; none while nothing was claimed
};
