#include "main/corvane.h"

#include "main/discovery.h"
#include "main/progress.h"
#include "main/stickcommands.h"
#include "stationpaths.h"
#include "storage/archiveaddition.h"
#include "uibackend/uibackend.h"
#include "utils/backupgenerator.h"
#include "utils/childprocess.h"
#include "utils/filesaver.h"
#include "utils/interruptiblesleep.h"
#include "utils/serialnumberchip.h"
#include "utils/ziputils.h"

#include <QDebug>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QThread>
#include <QTimer>

#include <cerrno>
#include <system_error>

using namespace std::chrono_literals;

namespace {

constexpr auto kDiscoveryDelay = 3500ms;
constexpr auto kPanelInterval = 2000ms;
constexpr int kMaxArchives = 25;

const QString kExportName = QStringLiteral("QVX_DATAS.cvx");

/// The whole content as it stands, empty when there is no such file.
QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Why `archive` refused `file`. What is wrong with the archive itself is no error of the system;
/// then ENOENT is merely that of the record of an addition cut short, which was looked for first.
QString reasonFor(const QString& archive, const QString& file, int error)
{
    const bool both_there = QFile::exists(archive) && QFile::exists(file);
    if (error == 0 || (error == ENOENT && both_there))
        return QStringLiteral("archive damaged or full");
    return QString::fromStdString(std::generic_category().message(error));
}

} // namespace

Corvane::Corvane(UIBackEnd& backend, std::chrono::milliseconds archive_interval)
    : uibackend(backend)
    , m_archive_interval(archive_interval)
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
    QDir(stationpaths::kFirmware).removeRecursively();
    QDir(stationpaths::kWork).removeRecursively();
    QDir().mkdir(stationpaths::kWork);

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
    const QByteArray version = contentOf(stationpaths::kVersion);
    QFile infos(stationpaths::kInfos);
    if (infos.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        infos.write("Serial number: " + m_eui48.toHex().toUpper());
        infos.write("\r\nBootloader version: " + contentOf(stationpaths::kLauncherVersion));
        infos.write("\r\nCorvane version: " + version);
    }
    qInfo().noquote().nospace() << "Version: " << version;
}

void Corvane::taskLoop()
{
    init();
    Discovery discovery(*this);
    FileSaver saver(stationpaths::kArchives, QStringLiteral(".cvx"), kMaxArchives);
    checkUpdateMarker();
    checkUsbCmd();
    if (!sleepUnlessInterrupted(2000ms))
        return;
    startNewArchive(saver);
    serveTimers(discovery, saver);
    if (discovery.workersLeft() > 0)
        emit workersAbandoned();
}

void Corvane::checkNewFirmware()
{
    new_firmware = StickCommands(m_usbkey).takeFirmware();
}

void Corvane::checkUpdateMarker()
{
    // The panel need not ask for pods then.
    m_just_updated = StickCommands(m_usbkey).takeUpdateMarker();
    m_no_backup = m_just_updated;
}

void Corvane::checkUsbCmd()
{
    StickCommands commands(m_usbkey);
    connect(&commands, &StickCommands::syncDone, this, &Corvane::syncDone);
    const auto obeyed = commands.obey();
    m_saved_to_usb = obeyed.backup_saved;
    m_backup_saved = obeyed.backup_saved;
    m_no_backup = m_no_backup || obeyed.erased;
}

void Corvane::startNewArchive(FileSaver& saver)
{
    saver.createNewFile();
    const QString path = saver.getCurrentFilePath();
    if (ZipUtils::createZip(path, stationpaths::kInfos)) {
        m_current_zip_path = path;
        return;
    }
    qCritical().noquote() << "No new archive at" << path;
    if (path == m_current_zip_path)
        m_current_zip_path.clear();
}

void Corvane::archiveTimeout(FileSaver& saver)
{
    // The stick is given the current archive alone: with a new one, a stick that comes late would
    // get an empty file, and the panel would show that all is copied.
    if (m_nb_pods_exported != m_nb_pods_zipped) {
        qDebug().noquote() << "Not yet on a stick, so it stays:" << m_current_zip_path;
        return;
    }
    startNewArchive(saver);
    qDebug().noquote() << "Timeout new file:" << m_current_zip_path;
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
    archive_timer.setInterval(m_archive_interval);
    archive_timer.setTimerType(Qt::VeryCoarseTimer);
    // A station in use keeps one archive: only three hours without a plug or unplug begin the next.
    connect(&discovery, &Discovery::podConnectionEvent, &archive_timer,
            qOverload<>(&QTimer::start));
    connect(&archive_timer, &QTimer::timeout, this, [&] { archiveTimeout(saver); });

    QTimer panel_timer;
    panel_timer.setInterval(kPanelInterval);
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

void Corvane::zipFile(const QString& file_path, int idx,
                      const std::shared_ptr<ArchiveTicket>& ticket)
{
    errno = 0;
    const bool success = ZipUtils::addFile(m_current_zip_path, file_path);
    const int error = errno;
    // Before the broadcast, which is what makes the pod look at its ticket.
    const bool pod_there = ticket->answer.give(success);
    emit fileZipped(success, idx);
    if (success) {
        qDebug().noquote() << "Zipped file:" << file_path;
        ++m_nb_pods_zipped;
        return;
    }
    qDebug() << "Zip failed";
    qWarning().noquote() << "Not archived:" << file_path << "in" << m_current_zip_path
                         << "reason:" << reasonFor(m_current_zip_path, file_path, error)
                         << "on pod at index" << idx;
    if (!pod_there)
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
        ChildProcess::run(QStringLiteral("lsusb"), {QStringLiteral("-v")});
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
    ChildProcess::run(QStringLiteral("sync"));
    m_saved_to_usb = true;
    m_nb_pods_exported = m_nb_pods_zipped;
    if (m_usbkey.umountKey() != 0)
        qDebug() << "Failed to unmount usb key";
    emit syncDone(Copied);
}
