#pragma once

#include <QByteArray>
#include <QString>

/// A disk that is the station's alone: a file system in memory, mounted over the station's folder
/// for as long as this lives, and gone with all that is on it. Owned by the bench's folder. The
/// process needs mounts of its own. Throws BadInput.
class StationDisk
{
public:
    StationDisk(const QString& folder, qint64 size_bytes);
    Q_DISABLE_COPY_MOVE(StationDisk)
    ~StationDisk();

    /// So much is left from now on, however much is on it.
    void leaveRoom(qint64 bytes) const;

private:
    bool mount(unsigned long flags, qint64 size_bytes) const;
    [[noreturn]] void refuse() const;

    QByteArray m_folder;
};
