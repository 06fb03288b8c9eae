#include "main/stickcommands.h"

#include "archive/owedarchives.h"
#include "dfu/updatepackage.h"
#include "main/progress.h"
#include "main/stationreport.h"
#include "system/childprocess.h"
#include "system/stationpaths.h"
#include "system/storagefile.h"
#include "utils/backupgenerator.h"
#include "utils/usbcmdutils.h"
#include "utils/usbkeyutils.h"

#include <QDebug>
#include <QFile>

namespace {

const QString kFirmwarePackage = QStringLiteral("app.zip");
const QString kUpdateMarker = QStringLiteral("corvane.zip");
const QString kBackupCommand = QStringLiteral("cmd_gen_backup.txt");
const QString kEraseCommand = QStringLiteral("cmd_erase_datas.txt");
const QString kReportCommand = QStringLiteral("cmd_gen_report.txt");
const QString kReportName = QStringLiteral("report.zip");
const QString kBackupName = QStringLiteral("backup.zip");

} // namespace

StickCommands::StickCommands(UsbKeyUtils& usbkey)
    : m_usbkey(usbkey)
{
}

bool StickCommands::takeFirmware()
{
    if (m_usbkey.mountKey() != 0) {
        qInfo() << "Failed to mount usbkey";
        return false;
    }
    const QString package = m_usbkey.pathOf(kFirmwarePackage);
    const bool taken = holds(kFirmwarePackage) && UpdatePackage::unpack(package);
    // Once taken it goes, or the next start would update all pods again.
    if (taken && !storage::removeFile(package))
        qWarning() << "The update package cannot be removed from the stick";
    if (m_usbkey.umountKey() != 0)
        qInfo() << "Failed to umount usbkey";
    else if (!taken)
        qInfo() << "No new firmware";
    return taken;
}

bool StickCommands::takeUpdateMarker()
{
    if (m_usbkey.mountKey() != 0 || !holds(kUpdateMarker))
        return false;
    ChildProcess::run(QStringLiteral("sync"));
    if (QFile::remove(m_usbkey.pathOf(kUpdateMarker)))
        qDebug() << "corvane.zip deleted";
    unmount();
    return true;
}

StickCommands::Obeyed StickCommands::obey(OwedArchives& owed)
{
    qDebug() << "Checking usb commands...";
    Obeyed obeyed;
    if (m_usbkey.mountKey() != 0)
        return obeyed;
    if (holds(kReportCommand)) // of the station as it is found
        report(owed);
    obeyed.backup_saved = holds(kBackupCommand) && backUp(owed);
    obeyed.erased = holds(kEraseCommand);
    if (obeyed.erased)
        UsbCmdUtils().cmdEraseDatas(m_usbkey.pathOf(kEraseCommand));
    unmount();
    return obeyed;
}

bool StickCommands::backUp(OwedArchives& owed)
{
    qDebug() << "Generating backup";
    emit syncDone(Syncing);
    const auto backup = BackupGenerator::generateBackup(stationpaths::kBackup);
    // Also an incomplete one: the stick then holds what could still be read. One of nothing takes
    // the place of no earlier backup, which may be all that is left of something.
    const bool worth_it = backup.complete || !backup.archives.isEmpty();
    const bool copied = worth_it && m_usbkey.copyFileToUsbKey(stationpaths::kBackup, kBackupName);
    // Obeyed a second time, the command would replace this backup by one of what is left here.
    const bool consumed = storage::removeFile(m_usbkey.pathOf(kBackupCommand));
    if (!copied || !backup.complete) {
        qWarning() << "No backup:"
                   << (backup.complete ? "not on the stick" : "an archive is missing");
        BackupGenerator::discardBackup();
        emit syncDone(CopyFailed);
        return false;
    }
    qDebug() << "Backup saved";
    owed.remove(backup.archives);
    if (consumed)
        BackupGenerator::deleteBackedUpFiles(owed);
    else
        qWarning() << "The backup command cannot be removed, so the local archives stay";
    ChildProcess::run(QStringLiteral("sync"));
    // What the backup had no room for, the station's looks at the stick bring after it.
    if (owed.names().isEmpty())
        emit syncDone(Copied);
    return true;
}

void StickCommands::report(const OwedArchives& owed)
{
    qInfo() << "Writing a report";
    emit syncDone(Syncing);
    const bool written = storage::removeFile(m_usbkey.pathOf(kReportCommand)) &&
                         m_usbkey.writeWhole(stationreport::make(owed), kReportName);
    if (!written)
        qWarning() << "No report on the stick";
    // A check mark says as well that nothing is owed; what is, the looks at the stick bring.
    if (!written || owed.names().isEmpty())
        emit syncDone(written ? Copied : CopyFailed);
}

bool StickCommands::holds(const QString& name) const
{
    const auto entry = m_usbkey.lookUp(name);
    if (entry == UsbKeyUtils::Entry::Other)
        qWarning().noquote() << "Left alone, not a plain file:" << m_usbkey.pathOf(name);
    return entry == UsbKeyUtils::Entry::File;
}

void StickCommands::unmount()
{
    if (m_usbkey.umountKey() != 0)
        qInfo() << "Failed to umount usbkey";
}
