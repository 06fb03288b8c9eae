#include "utils/backupgenerator.h"

#include "utils/ziputils.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

const QString kDatas = QStringLiteral("datas/");
const QString kBackup = QStringLiteral("backup.zip");
const QString kCopies = QStringLiteral("tmp_back");

QStringList archivesNewestFirst()
{
    return QDir(kDatas).entryList(QDir::Files, QDir::Name | QDir::Reversed);
}

/// An entry is named as its file is, hence the copy.
bool addAs(const QString& entryName, const QString& archive, const QString& backupPath)
{
    const QString copy = kCopies + QLatin1Char('/') + entryName;
    const bool added = QFile::copy(archive, copy) && ZipUtils::addFile(backupPath, copy);
    QFile::remove(copy);
    return added;
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
    QDir(kCopies).removeRecursively();
    QDir().mkdir(kCopies);
    qDebug() << "Starting backup generation";
    ZipUtils::deleteZip(backupPath);
    bool complete = ZipUtils::createZip(backupPath);
    qDebug() << "Created emtpy backup file"; // spelled so since the first station

    int number = 0;
    for (const QString& name : archivesNewestFirst()) {
        qDebug().noquote() << "Adding:" << name;
        ++number;
        if (!addAs(QStringLiteral("datas_%1.cvx").arg(number), kDatas + name, backupPath)) {
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
        QFile::remove(kDatas + name);
    ZipUtils::deleteZip(kBackup);
}

void BackupGenerator::discardBackup()
{
    ZipUtils::deleteZip(kBackup);
    QDir(kCopies).removeRecursively();
}
