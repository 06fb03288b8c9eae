#include "main/pod.h"

#include "dfu/podupdater.h"
#include "downloader/downloader.h"
#include "downloader/downloadexception.h"
#include "downloader/podprotocol.h"
#include "main/progress.h"
#include "system/interruptiblesleep.h"
#include "system/stationpaths.h"
#include "uibackend/uibackend.h"
#include "utils/libusbutils.h"
#include "utils/libusbutilsexception.h"

#include <QDebug>
#include <QThread>

using namespace std::chrono_literals;

namespace {

constexpr int kChargeLoopStarted = 22;
constexpr auto kChargePollInterval = 10s;

} // namespace

Pod::Pod(int idx, UsbDeviceRef dev, UIBackEnd& uibackend, bool dfu_mode, bool new_firmware)
    : m_idx(idx)
    , m_dev(std::move(dev))
    , m_uibackend(uibackend)
    , m_dfu_mode(dfu_mode)
    , m_new_firmware(new_firmware)
    , m_ozu_file_path(stationpaths::kWork + QLatin1Char('/'))
{
    connect(this, &Pod::setSyncProgress, &m_uibackend, &UIBackEnd::setPodSyncProgress);
    connect(this, &Pod::setUpdateProgress, &m_uibackend, &UIBackEnd::setPodUpdateProgress);
    connect(this, &Pod::setChargingState, &m_uibackend, &UIBackEnd::setChargingState);
    connect(this, &Pod::syncInProgress, &m_ticket->sync, &CountedSync::tell, Qt::DirectConnection);
    // Direct, on the worker: both emissions return when the charging loop has ended.
    connect(this, &Pod::syncDone, this, &Pod::chargingLoop);
    connect(this, &Pod::podEmpty, this, &Pod::chargingLoop);
    connect(this, &Pod::launchDfu, this, &Pod::startDfu);
    connect(this, &Pod::updateDone, this, &Pod::chargeUpdated);
    // Queued behind the update, so that the answer is known.
    connect(this, &Pod::bootloaderLeft, this,
            [this](const UsbDeviceRef& left) { emit updateJudged(left, m_update_done); });
}

Pod::~Pod()
{
    disconnectScreen();
    qDebug() << "Pod destructor";
}

void Pod::disconnectScreen()
{
    disconnect(this, nullptr, &m_uibackend, nullptr);
}

void Pod::tasks()
{
    // Thirty pods plugged at once do not all start in the same instant.
    if (!sleepUnlessInterrupted(300ms + 300ms * m_idx))
        return;
    if (m_dfu_mode) {
        setUpdating(true); // or its return as an ordinary pod would go unnoticed
        startDfu(m_dev);
        return;
    }
    try {
        LibUsbUtils().openDevice(m_dev.get(), m_dev_handle.receive());
        if (m_new_firmware) {
            PodUpdater::putInDfu(*this);
            emit restarting(m_dev);
            return;
        }
        readUDID();
        downloadData();
    } catch (...) {
        errorHandler();
    }
    qDebug() << "Task pod done";
}

uint8_t Pod::command(uint8_t byte)
{
    uint8_t ack = 0;
    LibUsbUtils().writeData(m_dev_handle.get(), &byte, 1, podprotocol::kTimeoutMs);
    LibUsbUtils().readData(m_dev_handle.get(), &ack, 1, podprotocol::kTimeoutMs);
    return ack;
}

void Pod::readUDID()
{
    command(podprotocol::kReadUdid); // unchecked: the read-out that follows tells a broken pod
    LibUsbUtils().readData(m_dev_handle.get(), m_pod_udid.data(), kUdidBytes,
                           podprotocol::kTimeoutMs);

    QString name = QString::fromLatin1(
        QByteArray(reinterpret_cast<const char*>(m_pod_udid.data()), kUdidBytes).toHex().toUpper());
    name.chop(1); // deliberate: data files are known by the first 15 of the 16 digits
    m_ozu_file_path = QStringLiteral("%1/%2.ozu").arg(stationpaths::kWork, name);
}

void Pod::downloadData()
{
    try {
        if (Downloader().downloadPodData(*this)) {
            emit dataReady(m_ozu_file_path, m_idx);
        } else {
            m_ticket->file.release(); // of a first read-out that was not empty
            // Charges the pod and returns hours later, or when it has left. The gauge shows it as
            // charging meanwhile, so the progress deliberately comes last.
            emit podEmpty();
            emit setSyncProgress(m_idx, progress::kFinished);
        }
    } catch (...) {
        // What was read so far stays while the pod does, but no other pod must wait for it.
        m_ticket->file.yield();
        errorHandler();
        m_dev_handle.close();
    }
}

void Pod::erasePod(bool /*erase*/, int idx)
{
    // The broadcast only wakes: what it says may be about the pod that sat here before.
    const std::optional<bool> added = m_ticket->answer.added();
    if (idx != m_idx || m_answered || !added)
        return;
    m_answered = true;
    if (*added) {
        eraseArchived();
        return;
    }
    emit setSyncProgress(m_idx, progress::kFailed);
    emit syncInProgress(true);
}

void Pod::eraseArchived()
{
    try {
        Downloader().erasePod(*this);
        emit setSyncProgress(m_idx, progress::kFinished);
        emit syncDone(); // as podEmpty, returns when the pod is full or has left
    } catch (...) {
        errorHandler();
    }
}

void Pod::chargingLoop()
{
    emit setChargingState(m_idx, kChargeLoopStarted);
    try {
        while (!m_pod_charged && !thread()->isInterruptionRequested()) {
            pollCharge();
            if (!sleepUnlessInterrupted(kChargePollInterval))
                break;
        }
    } catch (...) {
        errorHandler();
    }
    qDebug() << "Charging loop end";
}

void Pod::pollCharge()
{
    const uint8_t ack = command(podprotocol::kChargeStatus);
    if (ack != podprotocol::kAck)
        qInfo().noquote() << "Fail ack" << QString::number(ack, 16);
    if (thread()->isInterruptionRequested())
        return;
    uint8_t status = 0;
    if (LibUsbUtils().readData(m_dev_handle.get(), &status, 1, podprotocol::kTimeoutMs) < 1)
        return; // the pod said nothing: the screen keeps what it last said
    m_pod_charged = status == podprotocol::kCharged;
    emit setChargingState(m_idx, status);
}

void Pod::startDfu(const UsbDeviceRef& dev)
{
    // The handle is of a device that has left. Closing it tells nobody anything.
    m_dev_handle.close();
    m_dev = dev;
    setUpdateDone(false);
    try {
        PodUpdater::updatePod(*this);
        if (getUpdateDone())
            emit restarting(m_dev);
        else
            // Or the gauge would stand at the last percentage.
            emit setSyncProgress(m_idx, progress::kFailed);
    } catch (...) {
        errorHandler();
    }
}

void Pod::chargeUpdated(const UsbDeviceRef& dev)
{
    try {
        m_dev_handle.close();
        m_dev = dev;
        LibUsbUtils().openDevice(m_dev.get(), m_dev_handle.receive());
    } catch (...) {
        errorHandler();
        return;
    }
    chargingLoop();
}

void Pod::errorHandler()
{
    emit setSyncProgress(m_idx, progress::kFailed);
    try {
        throw;
    } catch (const DownloadException& e) {
        emit syncInProgress(true);
        qWarning().noquote() << "Download exception:" << e.msg()
                             << "Error code:" << e.getErrorCode() << "on pod at index" << m_idx;
    } catch (const LibUsbUtilsException& e) {
        qCritical().noquote() << "LibUsb exception:" << e.msg() << "Error code:" << e.getErrorCode()
                              << "on pod at index" << m_idx;
    } catch (const std::exception& e) {
        qCritical() << "Unhandled exception:" << e.what() << "on pod at index" << m_idx;
    } catch (...) {
        qCritical() << "Unknown exception on pod at index" << m_idx;
    }
}
