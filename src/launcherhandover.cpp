#include "launcherhandover.h"

#include <QFile>

LauncherHandover::LauncherHandover(const QString& directory)
    : m_current(directory + QStringLiteral("CorvaneLauncher"))
    , m_new(directory + QStringLiteral("CorvaneLauncher_new"))
    , m_old(directory + QStringLiteral("CorvaneLauncher_old"))
{
}

void LauncherHandover::run()
{
    if (!QFile::exists(m_new) || !setOldAside())
        return;

    if (rename(m_new, m_current)) {
        remove(m_old);
        return;
    }
    // Deliberately without delay or limit: a station must never be left without a launcher file.
    while (!copy(m_old, m_current)) {
    }
}

bool LauncherHandover::setOldAside()
{
    // A hand-over that was cut short leaves its safety copy behind, and a copy never overwrites.
    if (QFile::exists(m_current))
        QFile::remove(m_old);
    return copy(m_current, m_old) && remove(m_current);
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
