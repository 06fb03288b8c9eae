#include "support/faultystation.h"

#include "support/testfiles.h"
#include "utils/ziputils.h"

#include <QDir>
#include <QFile>

using testfiles::contentOf;
using testfiles::write;

FaultyStation::FaultyStation()
{
    const QDir root(m_folder.path());
    for (const char* name : {"station/datas", "station/tmp", "station/stick", "spare", "unpacked"})
        root.mkpath(QLatin1String(name));
    const QString infos = QStringLiteral("tmp/infos.log");
    if (!QDir::setCurrent(root.filePath(QStringLiteral("station"))) ||
        !write(infos, "Serial number: 001122334455") || !ZipUtils::createZip(kArchive) ||
        !ZipUtils::addFile(kArchive, infos))
        qFatal("Cannot use %s", qPrintable(m_folder.path()));
    m_original = contentOf(kArchive);
}

void FaultyStation::reset(const QByteArray& archive_bytes) const
{
    QFile::remove(kSideFile);
    QFile::remove(kStickFile);
    for (const QString& name : QDir().entryList({QStringLiteral("answer-*")}))
        QFile::remove(name);
    QDir spare(m_folder.filePath(QStringLiteral("spare")));
    for (const QString& name : spare.entryList(QDir::Files))
        spare.remove(name);
    if (!write(kArchive, archive_bytes))
        qFatal("Cannot write %s", qPrintable(kArchive));
}

FaultyRun FaultyStation::run(const QStringList& steps, const QString& plan, const QString& lost)
{
    const QString spare = QDir::cleanPath(QDir::current().filePath(QStringLiteral("../spare")));
    return FaultyRun::of(steps, QDir::currentPath(), spare, plan, lost);
}

int FaultyStation::callsOf(const QStringList& steps) const
{
    const FaultyRun untouched = run(steps);
    const bool passed = !untouched.killed && untouched.answers == QString(steps.size(), u'y');
    reset();
    return passed ? untouched.calls : 0;
}

bool FaultyStation::cutInTheMiddle(const QStringList& additions) const
{
    bool killed = true;
    for (int at = 1; killed && !ZipUtils::listFiles(kArchive).isEmpty(); ++at) {
        reset();
        killed = run(additions, QStringLiteral("%1:kill").arg(at)).killed;
    }
    return killed;
}
