#include "machine/stickimage.h"

#include "common/badinput.h"
#include "common/tool.h"

#include <QDir>
#include <QFile>

namespace {

constexpr int kSectorBytes = 512;
constexpr int kFirstSector = 2048;

/// As mtools name the partition.
QString partition(const QString& image)
{
    return QStringLiteral("%1@@%2").arg(image).arg(kFirstSector * kSectorBytes);
}

QStringList namesIn(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

} // namespace

void stickimage::make(const QString& image, quint64 size_bytes, const QString& folder)
{
    QFile file(image);
    if (!file.open(QIODevice::WriteOnly) || !file.resize(qint64(size_bytes)))
        throw BadInput(QStringLiteral("cannot write %1: %2").arg(image, file.errorString()));
    runTool(QStringLiteral("/sbin/sfdisk"), {QStringLiteral("-q"), image},
            {QStringLiteral("label: dos\nstart=%1, type=c\n").arg(kFirstSector).toUtf8(), {}, 0});
    runTool(QStringLiteral("/sbin/mkfs.vfat"),
            {QStringLiteral("--offset"), QString::number(kFirstSector), QStringLiteral("-n"),
             QStringLiteral("RECORDINGS"), image});
    QStringList arguments{QStringLiteral("-s"), QStringLiteral("-Q"), QStringLiteral("-i"),
                          partition(image)};
    for (const QString& name : namesIn(folder))
        arguments += QDir(folder).filePath(name);
    if (!namesIn(folder).isEmpty())
        runTool(QStringLiteral("mcopy"), arguments + QStringList{QStringLiteral("::")});
}

void stickimage::unpack(const QString& image, const QString& folder)
{
    QDir(folder).removeRecursively();
    QDir().mkpath(folder);
    const QByteArray names = runTool(QStringLiteral("mdir"),
                                     {QStringLiteral("-b"), QStringLiteral("-a"),
                                      QStringLiteral("-i"), partition(image), QStringLiteral("::")})
                                 .output;
    QStringList arguments{QStringLiteral("-s"), QStringLiteral("-n"), QStringLiteral("-i"),
                          partition(image)};
    for (const QByteArray& name : names.split('\n'))
        if (!name.isEmpty())
            arguments += QString::fromUtf8(name);
    if (!names.isEmpty())
        runTool(QStringLiteral("mcopy"), arguments + QStringList{folder});
}
