#include "main/corvane.h"

#include "archive/archiveaddition.h"
#include "main/discovery.h"
#include "main/localarchives.h"
#include "main/serialnumberchip.h"
#include "main/stickcommands.h"
#include "main/stickdelivery.h"
#include "system/childprocess.h"
#include "system/interruptiblesleep.h"
#include "system/stationpaths.h"
#include "uibackend/uibackend.h"
#include "utils/backupgenerator.h"

#include <QDebug>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QThread>
#include <QTimer>

#include <limits>

using namespace std::chrono_literals;

namespace {

constexpr auto kDiscoveryDelay = 3500ms;
constexpr auto kPanelInterval = 2000ms;
constexpr int kMaxArchives = 25;
constexpr int kAllArchives = std::numeric_limits<int>::max();

/// The whole content as it stands, empty when there is no such file.
QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Where the installation's folder is missing, the program stays where it was started: folders of
/// the same names are somebody else's there.
bool isAtHome()
{
    return QDir::current() == QDir(stationpaths::kStation);
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
    if (isAtHome())
        BackupGenerator::discardBackup();
    // Before anything reads "datas": an addition cut short by the power is put back.
    if (!ArchiveAddition::recover())
        qCritical() << "An archive waits to be put back";
    if (isAtHome()) {
        QDir(stationpaths::kFirmware).removeRecursively();
        QDir(stationpaths::kWork).removeRecursively();
    }

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

QByteArray Corvane::serialNumber() const
{
    return m_eui48.toHex().toUpper();
}

void Corvane::writeInfosFile()
{
    const QByteArray version = contentOf(stationpaths::kVersion);
    QDir().mkdir(stationpaths::kWork);
    QFile infos(stationpaths::kInfos);
    if (infos.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        infos.write("Serial number: " + serialNumber());
        infos.write("\r\nBootloader version: " + contentOf(stationpaths::kLauncherVersion));
        infos.write("\r\nCorvane version: " + version);
    }
    qInfo().noquote().nospace() << "Version: " << version;
}

void Corvane::taskLoop()
{
    init();
    Discovery discovery(*this);
    m_archives = std::make_unique<LocalArchives>([this] { writeInfosFile(); },
                                                 isAtHome() ? kMaxArchives : kAllArchives);
    checkUpdateMarker();
    checkUsbCmd();
    if (!sleepUnlessInterrupted(2000ms))
        return;
    m_archives->beginNext();
    serveTimers(discovery);
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
    connect(&commands, &StickCommands::syncDone, this, [this](int code) { show(SyncCode(code)); });
    const auto obeyed = commands.obey(m_archives->owed());
    if (obeyed.erased)
        m_archives->forgetErased();
    m_saved_to_usb = obeyed.backup_saved && !m_archives->owesAny();
    m_backup_saved = m_saved_to_usb; // or the panel would say nothing of what is still owed
    m_no_backup = m_no_backup || obeyed.erased;
}

void Corvane::archiveTimeout()
{
    if (m_archives->beginNext())
        qDebug().noquote() << "Timeout new file:" << m_archives->currentPath();
}

void Corvane::serveTimers(Discovery& discovery)
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
    connect(&archive_timer, &QTimer::timeout, this, &Corvane::archiveTimeout);

    QTimer panel_timer;
    panel_timer.setInterval(kPanelInterval);
    connect(&panel_timer, &QTimer::timeout, this, [this] {
        if (!m_archives->hasCurrent())
            m_archives->beginNext();
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
    const AdditionResult result = m_archives ? m_archives->add(file_path, ticket->data_crc32)
                                             : AdditionResult{AdditionResult::ArchiveUnusable};
    const bool success = result.added();
    if (success)
        ticket->sync.setArchived();
    // Before the broadcast, which is what makes the pod look at its ticket.
    ticket->answer.give(success);
    emit fileZipped(success, idx);
    if (success) {
        qDebug().noquote() << "Zipped file:" << file_path;
        ++m_nb_pods_zipped;
        return;
    }
    qDebug() << "Zip failed";
    qWarning().noquote() << "Not archived:" << file_path << "in"
                         << (m_archives ? m_archives->currentPath() : QString())
                         << "reason:" << result.reason() << "on pod at index" << idx;
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
        show(Syncing);
    qDebug() << "Pods to sync:" << m_nb_pods_to_sync;
}

bool Corvane::isIdle() const
{
    return m_nb_pods_to_sync == 0 && m_nb_pods_zipped == 0;
}

void Corvane::show(SyncCode code)
{
    m_shown = code;
    emit syncDone(code);
}

void Corvane::updateInfowWindow()
{
    if (m_saved_to_usb)
        return;
    if (isIdle() && !m_just_updated)
        ChildProcess::run(QStringLiteral("lsusb"), {QStringLiteral("-v")});
    if (isIdle() && m_archives->owesAny() && mountAnew()) {
        deliver();
        return;
    }
    if (m_nb_pods_to_sync == 0 && !m_backup_saved && !new_firmware && !m_no_backup)
        show(WaitingForPods);
    if (m_nb_pods_zipped != m_nb_pods_to_sync)
        show(Syncing);
    else if (m_nb_pods_zipped != 0)
        exportArchive();
}

/// Of pods that held nothing, no stick needs to know.
void Corvane::exportArchive()
{
    if (m_archives->owesAny() && !mountAnew())
        show(NoUsbKey);
    else
        deliver();
}

/// Still mounted after a copy that failed: the stick may be another one by now.
bool Corvane::mountAnew()
{
    m_usbkey.umountKey();
    return m_usbkey.mountKey() == 0;
}

void Corvane::deliver()
{
    if (m_shown == WaitingForPods)
        show(Syncing);
    // After a storage error an addition may still wait to be put back: half of it is no export.
    const SyncCode code =
        ArchiveAddition::recover()
            ? StickDelivery(m_usbkey, *m_archives, QString::fromLatin1(serialNumber())).run()
            : CopyFailed;
    m_saved_to_usb = code == Copied;
    if (code != CopyFailed && m_usbkey.mounted()) {
        ChildProcess::run(QStringLiteral("sync"));
        if (m_usbkey.umountKey() != 0)
            qDebug() << "Failed to unmount usb key";
    }
    show(code);
}
