#include "shell/launcherhandover.h"

#include "system/storagefile.h"

#include <QFile>

LauncherHandover::LauncherHandover(const QString& directory)
    : m_current(directory + QStringLiteral("CorvaneLauncher"))
    , m_new(directory + QStringLiteral("CorvaneLauncher_new"))
    , m_old(directory + QStringLiteral("CorvaneLauncher_old"))
{
}

void LauncherHandover::run()
{
    if (!QFile::exists(m_new) || !(wasCutShort() || setOldAside()))
        return;

    const bool replaced = rename(m_new, m_current);
    // Deliberately without delay or limit: a station must never be left without a launcher file.
    while (!replaced && !copy(m_old, m_current)) {
    }
    flush(m_current);
    if (replaced)
        remove(m_old);
}

/// The power went after the old launcher was set aside: only the new one's rename is left to do.
bool LauncherHandover::wasCutShort() const
{
    return !QFile::exists(m_current) && QFile::exists(m_old);
}

bool LauncherHandover::setOldAside()
{
    // A copy never overwrites, and one that was cut short is still there.
    QFile::remove(m_old);
    // From the removal on, these two are all there is of a launcher.
    return copy(m_current, m_old) && flush(m_old) && flush(m_new) && remove(m_current);
}

bool LauncherHandover::copy(const QString& from, const QString& to)
{
    return QFile::copy(from, to);
}

bool LauncherHandover::remove(const QString& path)
{
    return QFile::remove(path);
}

bool LauncherHandover::rename(const QString& from, const QString& to)
{
    return QFile::rename(from, to);
}

bool LauncherHandover::flush(const QString& path)
{
    return storage::syncFile(path) && storage::syncFolderOf(path);
}
