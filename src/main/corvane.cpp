#include "main/corvane.h"

#include "main/discovery.h"
#include "storage/archiveaddition.h"
#include "storage/storagefile.h"
#include "uibackend/uibackend.h"
#include "utils/backupgenerator.h"
#include "utils/childprocess.h"
#include "utils/filesaver.h"
#include "utils/interruptiblesleep.h"
#include "utils/serialnumberchip.h"
#include "utils/usbcmdutils.h"
#include "utils/ziputils.h"

#include <QDebug>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QThread>
#include <QTimer>

using namespace std::chrono_literals;

namespace {

constexpr auto kDiscoveryDelay = 3500ms;
constexpr auto kArchiveInterval = 3h;
constexpr auto kPanelInterval = 2000ms;
constexpr auto kToolLimit = 30s;
constexpr int kMaxArchives = 25;

const QString kInfosPath = QStringLiteral("tmp/infos.log");
const QString kStationVersionPath = QStringLiteral("/opt/Corvane/version");
const QString kLauncherVersionPath = QStringLiteral("/opt/CorvaneLauncher/version");
const QString kFirmwareFolder = QStringLiteral("dfu");
const QString kFirmwarePackage = QStringLiteral("app.zip");
const QString kExportName = QStringLiteral("QVX_DATAS.cvx");
const QString kBackupName = QStringLiteral("backup.zip");
const QString kUpdateMarker = QStringLiteral("corvane.zip");
const QString kBackupCommand = QStringLiteral("cmd_gen_backup.txt");
const QString kEraseCommand = QStringLiteral("cmd_erase_datas.txt");

enum SyncCode { CopyFailed = -2, Syncing = -1, Copied = 0, NoUsbKey = 1, WaitingForPods = 2 };

/// The whole content as it stands, empty when there is no such file.
QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// False, and nothing of it left, when it is no package for pods.
bool unpackFirmware(const QString& package)
{
    if (!ZipUtils::extractZip(package, kFirmwareFolder)) {
        qInfo() << "Failed to unzip firmware";
        return false;
    }
    QDir folder(kFirmwareFolder);
    const QStringList files =
        folder.entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Unsorted);
    const bool has_manifest = files.contains(QStringLiteral("manifest.json"));
    qDebug() << files.size() << has_manifest;
    // Exactly manifest, init packet and image: a package with more is deliberately refused.
    if (files.size() == 3 && has_manifest) {
        qInfo() << "New firmware on usbkey";
        return true;
    }
    qInfo() << "Invalid update package";
    // Or a pod that is plugged in in its bootloader would be given what was just refused.
    folder.removeRecursively();
    return false;
}

void runTool(const QString& program, const QStringList& arguments = {})
{
    ChildProcess::run(program, arguments, kToolLimit);
}

} // namespace

Corvane::Corvane(UIBackEnd& backend)
    : uibackend(backend)
{
}

Corvane::~Corvane() = default;

void Corvane::init()
{
    // A backup cut short by the power is not put back first: it may take all the room there is.
    BackupGenerator::discardBackup();
    // Before anything reads "datas": an addition cut short by the power is put back.
    if (!ArchiveAddition::recover())
        qCritical() << "An archive waits to be put back";
    QDir(kFirmwareFolder).removeRecursively();
    QDir(QStringLiteral("tmp")).removeRecursively();
    QDir().mkdir(QStringLiteral("tmp"));

    connect(this, &Corvane::podConnection, &uibackend, &UIBackEnd::setPodConnection);
    connect(this, &Corvane::syncDone, &uibackend, &UIBackEnd::setSyncDone);
    connect(this, &Corvane::updateDone, &uibackend, &UIBackEnd::setUpdateDone);

    m_eui48 = getEUI48();
    writeInfosFile();
    checkNewFirmware();
}

QByteArray Corvane::getEUI48()
{
    return SerialNumberChip(QStringLiteral("/dev/i2c-3")).readEui48();
}

void Corvane::writeInfosFile()
{
    const QByteArray version = contentOf(kStationVersionPath);
    QFile infos(kInfosPath);
    if (infos.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        infos.write("Serial number: " + m_eui48.toHex().toUpper());
        infos.write("\r\nBootloader version: " + contentOf(kLauncherVersionPath));
        infos.write("\r\nCorvane version: " + version);
    }
    qInfo().noquote().nospace() << "Version: " << version;
}

void Corvane::checkNewFirmware()
{
    if (m_usbkey.mountKey() != 0) {
        qInfo() << "Failed to mount usbkey";
        return;
    }
    const QString package = m_usbkey.pathOf(kFirmwarePackage);
    new_firmware = usbKeyHolds(kFirmwarePackage) && unpackFirmware(package);
    // Once taken it goes, or the next start would update all pods again.
    if (new_firmware && !storage::removeFile(package))
        qWarning() << "The update package cannot be removed from the stick";
    if (m_usbkey.umountKey() != 0)
        qInfo() << "Failed to umount usbkey";
    else if (!new_firmware)
        qInfo() << "No new firmware";
}

void Corvane::taskLoop()
{
    init();
    Discovery discovery(*this);
    FileSaver saver(QStringLiteral("datas"), QStringLiteral(".cvx"), kMaxArchives);
    checkUpdateMarker();
    checkUsbCmd();
    if (!sleepUnlessInterrupted(2000ms))
        return;
    startNewArchive(saver);
    serveTimers(discovery, saver);
    if (discovery.workersLeft() > 0)
        emit workersAbandoned();
}

/// The launcher has installed what the marker stands for: the panel need not ask for pods.
void Corvane::checkUpdateMarker()
{
    // Without a marker the stick stays mounted, for the command files.
    if (m_usbkey.mountKey() != 0 || !usbKeyHolds(kUpdateMarker))
        return;
    m_just_updated = true;
    runTool(QStringLiteral("sync"));
    m_no_backup = true;
    if (QFile::remove(m_usbkey.pathOf(kUpdateMarker)))
        qDebug() << "corvane.zip deleted";
    umountUsbKey();
}

void Corvane::checkUsbCmd()
{
    qDebug() << "Checking usb commands...";
    if (m_usbkey.mountKey() != 0)
        return;
    if (usbKeyHolds(kBackupCommand))
        backupToUsbKey();
    if (usbKeyHolds(kEraseCommand)) {
        UsbCmdUtils().cmdEraseDatas(m_usbkey.pathOf(kEraseCommand));
        m_no_backup = true;
    }
    umountUsbKey();
}

void Corvane::backupToUsbKey()
{
    qDebug() << "Generating backup";
    emit syncDone(Syncing);
    const bool complete = BackupGenerator::generateBackup(kBackupName);
    // Also an incomplete one: the stick then holds what could still be read.
    const bool copied = m_usbkey.copyFileToUsbKey(kBackupName, kBackupName);
    // Obeyed a second time, the command would replace this backup by one of what is left here.
    const bool consumed = storage::removeFile(m_usbkey.pathOf(kBackupCommand));
    if (!copied || !complete) {
        qWarning() << "No backup:" << (copied ? "an archive is missing" : "not on the stick");
        BackupGenerator::discardBackup();
        emit syncDone(CopyFailed);
        return;
    }
    m_saved_to_usb = true;
    m_backup_saved = true;
    qDebug() << "Backup saved";
    if (consumed)
        BackupGenerator::deleteBackedUpFiles();
    else
        qWarning() << "The backup command cannot be removed, so the local archives stay";
    runTool(QStringLiteral("sync"));
    emit syncDone(Copied);
}

bool Corvane::usbKeyHolds(const QString& name) const
{
    const auto entry = m_usbkey.lookUp(name);
    if (entry == UsbKeyUtils::Entry::Other)
        qWarning().noquote() << "Left alone, not a plain file:" << m_usbkey.pathOf(name);
    return entry == UsbKeyUtils::Entry::File;
}

void Corvane::umountUsbKey()
{
    if (m_usbkey.umountKey() != 0)
        qInfo() << "Failed to umount usbkey";
}

void Corvane::startNewArchive(FileSaver& saver)
{
    saver.createNewFile();
    const QString path = saver.getCurrentFilePath();
    if (ZipUtils::createZip(path, kInfosPath)) {
        m_current_zip_path = path;
        return;
    }
    qCritical().noquote() << "No new archive at" << path;
    if (path == m_current_zip_path)
        m_current_zip_path.clear();
}

void Corvane::serveTimers(Discovery& discovery, FileSaver& saver)
{
    QThread discovery_thread;
    discovery.moveToThread(&discovery_thread);
    connect(&discovery_thread, &QThread::started, &discovery, &Discovery::Start);
    QTimer discovery_timer;
    discovery_timer.setSingleShot(true);
    discovery_timer.setTimerType(Qt::CoarseTimer);
    connect(&discovery_timer, &QTimer::timeout, &discovery_thread,
            [&] { discovery_thread.start(); });
    discovery_timer.start(kDiscoveryDelay);

    QTimer archive_timer;
    archive_timer.setInterval(kArchiveInterval);
    archive_timer.setTimerType(Qt::VeryCoarseTimer);
    const auto restart = qOverload<>(&QTimer::start);
    connect(&archive_timer, &QTimer::timeout, &archive_timer, restart);
    // A station in use keeps one archive: only three hours without a plug or unplug begin the next.
    connect(&discovery, &Discovery::podConnectionEvent, &archive_timer, restart);
    connect(&archive_timer, &QTimer::timeout, this, [&] {
        startNewArchive(saver);
        qDebug().noquote() << "Timeout new file:" << m_current_zip_path;
    });

    QTimer panel_timer;
    panel_timer.setInterval(kPanelInterval);
    connect(&panel_timer, &QTimer::timeout, &panel_timer, restart);
    connect(&panel_timer, &QTimer::timeout, this, [&] {
        if (m_current_zip_path.isEmpty())
            startNewArchive(saver);
    });
    connect(&panel_timer, &QTimer::timeout, this, &Corvane::updateInfowWindow);

    archive_timer.start();
    panel_timer.start();
    QEventLoop loop;
    while (!thread()->isInterruptionRequested())
        loop.exec();

    discovery_thread.requestInterruption();
    discovery.Stop();
    discovery_thread.quit();
    discovery_thread.wait();
}

void Corvane::zipFile(const QString& file_path, int idx, ArchiveTicket* ticket)
{
    const bool success = ZipUtils::addFile(m_current_zip_path, file_path);
    // Before the broadcast, which is what makes the pod look at its ticket.
    const bool pod_gone =
        ticket != nullptr && ticket->settle(success) == ArchiveTicket::Answer::Abandoned;
    emit fileZipped(success, idx);
    if (success) {
        qDebug().noquote() << "Zipped file:" << file_path;
        ++m_nb_pods_zipped;
        return;
    }
    qDebug() << "Zip failed";
    if (pod_gone)
        nbPodsInSync(true); // what the pod would have done on the answer
}

void Corvane::podIsEmpty()
{
    ++m_nb_pods_empty;
}

void Corvane::nbPodsInSync(bool failed)
{
    if (failed) {
        --m_nb_pods_to_sync;
    } else {
        m_saved_to_usb = false;
        ++m_nb_pods_to_sync;
    }
    if (m_nb_pods_to_sync > 0)
        emit syncDone(Syncing);
    qDebug() << "Pods to sync:" << m_nb_pods_to_sync;
}

bool Corvane::isIdle() const
{
    return m_nb_pods_to_sync == 0 && m_nb_pods_zipped == 0;
}

void Corvane::updateInfowWindow()
{
    if (m_saved_to_usb)
        return;
    if (isIdle() && !m_just_updated)
        runTool(QStringLiteral("lsusb"), {QStringLiteral("-v")});
    if (m_nb_pods_to_sync == 0 && !m_backup_saved && !new_firmware && !m_no_backup)
        emit syncDone(WaitingForPods);
    if (m_nb_pods_zipped != m_nb_pods_to_sync)
        emit syncDone(Syncing);
    else if (m_nb_pods_zipped != 0)
        exportArchive();
}

void Corvane::exportArchive()
{
    // Still mounted after a copy that failed: the stick may be another one by now.
    m_usbkey.umountKey();
    if (m_usbkey.mountKey() != 0) {
        emit syncDone(NoUsbKey);
        return;
    }
    // After a storage error an addition may still wait to be put back: half of it is no export.
    if (!ArchiveAddition::recover() ||
        !m_usbkey.copyFileToUsbKey(m_current_zip_path, kExportName)) {
        emit syncDone(CopyFailed);
        return;
    }
    runTool(QStringLiteral("sync"));
    m_saved_to_usb = true;
    if (m_usbkey.umountKey() != 0)
        qDebug() << "Failed to unmount usb key";
    emit syncDone(Copied);
}
