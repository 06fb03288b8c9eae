#include "site/benchfolder.h"

#include "common/badinput.h"
#include "common/files.h"

#include <QFile>

namespace {

/// As much as an address of a socket holds.
constexpr int kMostSocketPathBytes = 107;

} // namespace

BenchFolder::BenchFolder(const QString& kept, qint64 disk_bytes)
    : m_root(QDir(kept.isEmpty() ? m_temporary.path() : kept).absolutePath())
{
    if (!m_temporary.isValid() || !m_control.isValid())
        throw BadInput(QStringLiteral("no temporary folder: %1").arg(m_temporary.errorString()));
    if (screenSocket().toLocal8Bit().size() > kMostSocketPathBytes)
        throw BadInput(QStringLiteral("TMPDIR is too long for a socket: %1").arg(QDir::tempPath()));
    for (const QString& of_run : {station(), stick(), log()})
        if (QFile::exists(of_run))
            throw BadInput(
                QStringLiteral("%1 holds an earlier run; name another folder or remove it")
                    .arg(path()));
    if (!m_root.mkpath(station()) || !m_root.mkpath(launcher()))
        throw BadInput(QStringLiteral("cannot make folders in %1").arg(path()));
    if (disk_bytes > 0)
        m_disk.emplace(station(), disk_bytes);
    writeFile(station() + QStringLiteral("/version"), CORVANE_VERSION);
    writeFile(launcher() + QStringLiteral("/version"), "1.0");
}

QStringList BenchFolder::toolsRun() const
{
    QFile log(m_control.filePath(QStringLiteral("tools.log")));
    if (!log.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(log.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QStringList BenchFolder::localArchives() const
{
    const QDir datas(archives());
    QStringList paths;
    for (const QString& name : datas.entryList({QStringLiteral("*.cvx")}, QDir::Files, QDir::Name))
        paths += datas.filePath(name);
    return paths;
}
