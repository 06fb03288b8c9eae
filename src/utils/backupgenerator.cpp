#include "utils/backupgenerator.h"

#include "stationpaths.h"
#include "utils/ziputils.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

/// Deliberately made anew and left empty by each backup; archives are added from where they are.
const QString kBackupFolder = QStringLiteral("tmp_back");

QString pathOf(const QString& archive)
{
    return stationpaths::kArchives + QLatin1Char('/') + archive;
}

QStringList archivesNewestFirst()
{
    return QDir(stationpaths::kArchives).entryList(QDir::Files, QDir::Name | QDir::Reversed);
}

bool hasRoomLeft(const QString& backupPath, qint64 max_bytes)
{
    const qint64 bytes = QFileInfo(backupPath).size();
    if (bytes < max_bytes)
        return true;
    qDebug() << "Max backup size reached, stopping. Max size:" << max_bytes;
    qDebug() << "Current size:" << bytes;
    return false;
}

} // namespace

bool BackupGenerator::generateBackup(const QString& backupPath, qint64 maxBytes)
{
    QDir(kBackupFolder).removeRecursively();
    QDir().mkdir(kBackupFolder);
    qDebug() << "Starting backup generation";
    ZipUtils::deleteZip(backupPath);
    bool complete = ZipUtils::createZip(backupPath);
    qDebug() << "Created emtpy backup file"; // spelled so since the first station

    int number = 0;
    for (const QString& name : archivesNewestFirst()) {
        qDebug().noquote() << "Adding:" << name;
        ++number;
        if (!ZipUtils::addFile(backupPath, pathOf(name),
                               QStringLiteral("datas_%1.cvx").arg(number))) {
            qCritical().noquote() << "Not in the backup:" << name;
            complete = false;
        }
        if (!hasRoomLeft(backupPath, maxBytes))
            break;
    }
    return complete;
}

void BackupGenerator::deleteBackedUpFiles()
{
    QStringList names = archivesNewestFirst();
    if (!names.isEmpty())
        names.removeFirst(); // the one in use
    for (const QString& name : qAsConst(names))
        QFile::remove(pathOf(name));
    ZipUtils::deleteZip(stationpaths::kBackup);
}

void BackupGenerator::discardBackup()
{
    ZipUtils::deleteZip(stationpaths::kBackup);
    QDir(kBackupFolder).removeRecursively();
}
