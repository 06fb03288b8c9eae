#include "site/stationdisk.h"

#include "common/badinput.h"

#include <QFile>

#include <sys/mount.h>
#include <sys/statvfs.h>

#include <cerrno>

namespace {

constexpr unsigned long kFlags = MS_NOSUID | MS_NODEV;

} // namespace

StationDisk::StationDisk(const QString& folder, qint64 size_bytes)
    : m_folder(QFile::encodeName(folder))
{
    if (!mount(kFlags, size_bytes))
        refuse();
}

StationDisk::~StationDisk()
{
    ::umount2(m_folder.constData(), MNT_DETACH);
}

void StationDisk::leaveRoom(qint64 bytes) const
{
    struct statvfs disk = {};
    do {
        if (::statvfs(m_folder.constData(), &disk) != 0)
            refuse();
        const qint64 used_bytes = qint64(disk.f_blocks - disk.f_bfree) * qint64(disk.f_frsize);
        if (mount(kFlags | MS_REMOUNT, used_bytes + bytes))
            return;
    } while (errno == EINVAL); // the station has written meanwhile
    refuse();
}

bool StationDisk::mount(unsigned long flags, qint64 size_bytes) const
{
    const QByteArray options = "mode=0755,size=" + QByteArray::number(size_bytes);
    return ::mount("station", m_folder.constData(), "tmpfs", flags, options.constData()) == 0;
}

void StationDisk::refuse() const
{
    throw BadInput(QStringLiteral("no disk of its own for the station on %1: %2")
                       .arg(QFile::decodeName(m_folder), qt_error_string(errno)));
}
