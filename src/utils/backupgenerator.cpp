#include "utils/backupgenerator.h"

#include "archive/owedarchives.h"
#include "system/readback.h"
#include "system/stationpaths.h"
#include "system/storagefile.h"
#include "utils/ziputils.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <optional>

namespace {

/// Deliberately made anew and left empty by each backup; archives are added from where they are.
const QString kBackupFolder = QStringLiteral("tmp_back");

QString pathOf(const QString& archive)
{
    return stationpaths::kArchives + QLatin1Char('/') + archive;
}

std::optional<QStringList> archivesNewestFirst()
{
    auto names = storage::listFiles(stationpaths::kArchives);
    if (names)
        std::reverse(names->begin(), names->end());
    else
        qCritical() << "The archives cannot be listed";
    return names;
}

/// The archive is read a second time, past the system's cache: both readings must agree.
bool add(const QString& backupPath, const QString& archive, int number)
{
    qDebug().noquote() << "Adding:" << archive;
    const auto crc32 = readback::crc32(pathOf(archive));
    const QString entry = QStringLiteral("datas_%1.cvx").arg(number);
    if (crc32 && ZipUtils::addRecording(backupPath, pathOf(archive), entry, *crc32).added())
        return true;
    qCritical().noquote() << "Not in the backup:" << archive;
    return false;
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

BackupGenerator::Backup BackupGenerator::generateBackup(const QString& backupPath, qint64 maxBytes)
{
    QDir(kBackupFolder).removeRecursively();
    QDir().mkdir(kBackupFolder);
    qDebug() << "Starting backup generation";
    ZipUtils::deleteZip(backupPath);
    Backup backup;
    backup.complete = ZipUtils::createZip(backupPath);
    qDebug() << "Created emtpy backup file"; // spelled so since the first station

    const auto names = archivesNewestFirst();
    backup.complete = backup.complete && names;
    int number = 0;
    for (const QString& name : names.value_or(QStringList())) {
        if (add(backupPath, name, ++number))
            backup.archives += name;
        else
            backup.complete = false;
        if (!hasRoomLeft(backupPath, maxBytes))
            break;
    }
    return backup;
}

void BackupGenerator::deleteBackedUpFiles(const OwedArchives& owed)
{
    const QStringList earlier = archivesNewestFirst().value_or(QStringList()).mid(1);
    for (const QString& name : earlier) // the newest is in use
        if (!owed.contains(name))
            QFile::remove(pathOf(name));
    ZipUtils::deleteZip(stationpaths::kBackup);
}

void BackupGenerator::discardBackup()
{
    ZipUtils::deleteZip(stationpaths::kBackup);
    QDir(kBackupFolder).removeRecursively();
}
