#pragma once

#include "main/archiveticket.h"
#include "main/deviceslot.h"
#include "main/progress.h"
#include "utils/usbkeyutils.h"

#include <QByteArray>
#include <QObject>
#include <QString>

#include <array>
#include <atomic>
#include <chrono>
#include <memory>

class Discovery;
class LocalArchives;
class UIBackEnd;

/// The station controller. Made by main, lives on a thread of its own whose start runs taskLoop,
/// and owns the thirty slots. Reaches the screens only through its signals; no failure stops it.
class Corvane : public QObject
{
    Q_OBJECT

public:
    static constexpr int kSlotCount = 30;

    using device_slot_ts = ::device_slot_ts;

    /// How long no pod is plugged in or out before the next archive is begun.
    static constexpr std::chrono::milliseconds kArchiveInterval = std::chrono::hours(3);

    explicit Corvane(UIBackEnd& backend,
                     std::chrono::milliseconds archive_interval = kArchiveInterval);
    ~Corvane() override;
    Corvane(const Corvane&) = delete;
    Corvane& operator=(const Corvane&) = delete;
    Corvane(Corvane&&) = delete;
    Corvane& operator=(Corvane&&) = delete;

    UIBackEnd& uibackend;
    std::array<device_slot_ts, kSlotCount> device_slots; ///< discovery thread
    std::atomic<int> nb_pods_connected{0};               ///< written by discovery
    bool new_firmware = false;                           ///< set before discovery starts

public slots:
    /// Runs until the thread is asked to stop (QThread::requestInterruption, then quit).
    void taskLoop();
    /// Adds a pod's data file to the current archive and answers, first in its ticket, then with
    /// fileZipped.
    void zipFile(const QString& file_path, int idx, const std::shared_ptr<ArchiveTicket>& ticket);
    void podIsEmpty();
    void nbPodsInSync(bool failed);
    void updateInfowWindow();

signals:
    void fileZipped(bool success, int idx); ///< to every pod; each acts on its own index
    void podConnection(int idx, bool connected);
    void syncDone(int code); ///< a SyncCode
    void updateDone(int code);
    /// The last signal of taskLoop when a worker sat in a blocked transfer for longer than a quit
    /// waits: its thread still runs.
    void workersAbandoned();

private:
    void init();
    QByteArray getEUI48();
    void checkNewFirmware();
    void writeInfosFile();
    QByteArray serialNumber() const; ///< as 12 hexadecimal digits, or none
    void checkUpdateMarker();
    void checkUsbCmd();
    void archiveTimeout();
    void serveTimers(Discovery& discovery);
    bool isIdle() const;
    void show(SyncCode code);
    void exportArchive();
    bool mountAnew();
    /// The stick is mounted: brings what is owed.
    void deliver();

    int m_nb_pods_zipped = 0;
    int m_nb_pods_empty = 0;
    int m_nb_pods_to_sync = 0;
    bool m_saved_to_usb = false;
    bool m_backup_saved = false;
    bool m_just_updated = false;
    bool m_no_backup = false;
    std::chrono::milliseconds m_archive_interval;
    UsbKeyUtils m_usbkey;
    QByteArray m_eui48; ///< 6 bytes, empty when the chip did not answer
    SyncCode m_shown = WaitingForPods;
    std::unique_ptr<LocalArchives> m_archives; ///< from the end of init on
};
