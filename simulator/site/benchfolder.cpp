#include "site/benchfolder.h"

#include "common/badinput.h"

#include <QFile>

namespace {

void writeVersion(const QString& folder, const QByteArray& version)
{
    QFile file(folder + QStringLiteral("/version"));
    if (!QDir().mkpath(folder) || !file.open(QIODevice::WriteOnly) || file.write(version) < 0)
        throw BadInput(
            QStringLiteral("cannot write %1: %2").arg(file.fileName(), file.errorString()));
}

/// As much as an address of a socket holds.
constexpr int kMostSocketPathBytes = 107;

} // namespace

BenchFolder::BenchFolder(const QString& kept)
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
    writeVersion(station(), CORVANE_VERSION);
    writeVersion(launcher(), "1.0");
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
