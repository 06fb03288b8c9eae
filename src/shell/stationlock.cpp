#include "shell/stationlock.h"

#include <QDebug>

#include <sys/file.h>

#include <cerrno>
#include <fcntl.h>

StationLock::StationLock()
    // Not for the programs that the station starts: one that hangs would lock out the next station.
    : m_directory(::open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    if (::flock(m_directory.get(), LOCK_EX | LOCK_NB) == 0)
        return;
    m_held = errno != EWOULDBLOCK;
    if (m_held)
        qWarning("Working dir cannot be locked: %s", qUtf8Printable(qt_error_string(errno)));
}
