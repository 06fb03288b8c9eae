#pragma once

#include "main/archiveticket.h"
#include "usb/usbcontext.h"
#include "usb/usbhandle.h"

#include <QObject>
#include <QString>

#include <array>
#include <atomic>
#include <memory>
#include <utility>

class UIBackEnd;

/// One plugged-in pod. Made by discovery, moved to a worker thread of its own and deleted there
/// after `finished`; what discovery calls is marked, all else belongs to that thread.
/// Owns the open libusb handle. A failure is progress::kFailed and a warning that names the place:
/// errorHandler's for what is thrown, the controller's and the updater's for what they refuse.
class Pod : public QObject
{
    Q_OBJECT

public:
    /// `dfu_mode`: it is in its bootloader already; `new_firmware`: it is to be updated, not read
    /// out.
    Pod(int idx, UsbDeviceRef dev, UIBackEnd& uibackend, bool dfu_mode = false,
        bool new_firmware = false);
    ~Pod() override;
    Pod(const Pod&) = delete;
    Pod& operator=(const Pod&) = delete;
    Pod(Pod&&) = delete;
    Pod& operator=(Pod&&) = delete;

    int getIdx() const { return m_idx; }
    /// Of the mode that it is in, or was in last: each has a device of its own on the bus.
    libusb_device* getDev() const { return m_dev.get(); }
    libusb_device_handle* getDevHandle() const { return m_dev_handle.get(); }
    void setDevHandle(UsbHandle handle) { m_dev_handle = std::move(handle); }
    int getProgress() const { return m_progress; }
    void setProgress(int percent) { m_progress = percent; }

    /// Thread-safe. A firmware update is under way, from the restart into the bootloader to the
    /// return as an ordinary pod.
    bool getUpdating() const { return m_updating; }
    void setUpdating(bool updating) { m_updating = updating; }
    /// The last update reached its end.
    bool getUpdateDone() const { return m_update_done; }
    void setUpdateDone(bool done) { m_update_done = done; }

    /// "tmp/" + 15 hexadecimal digits + ".ozu"; "tmp/" alone before the identifier is known.
    QString getOzuFilePath() const { return m_ozu_file_path; }

    /// Makes the data file this pod's own unless another pod of the same name has it.
    DataFileClaim::Result claimDataFile() { return m_ticket->file.claim(m_ozu_file_path); }
    std::shared_ptr<ArchiveTicket> ticket() const { return m_ticket; }
    /// Thread-safe. Discovery, at removal: from then on nothing of this pod reaches the screen.
    void disconnectScreen();

public slots:
    /// The controller's answer, broadcast to all pods; acts once, and only on the answer to this
    /// pod's own data file.
    void erasePod(bool erase, int idx);
    void tasks();
    void chargingLoop();
    /// Updates the pod, which has come back as this device, in its bootloader.
    void startDfu(const UsbDeviceRef& dev);
    /// The pod is back as this device, updated: watches it charge.
    void chargeUpdated(const UsbDeviceRef& dev);

signals:
    // 0 to 100 percent, or a value of namespace progress.
    void setSyncProgress(int idx, int value);
    void setUpdateProgress(int idx, int value);
    void setChargingState(int idx, int state); ///< the pod's own status byte; 22 once at the start
    void dataReady(QString path, int idx);
    void finished();
    void syncInProgress(bool failed); ///< false begins a synchronisation, true says that it failed
    void podEmpty();
    void syncDone();
    /// It was told to leave the bus and come back in its other mode.
    void restarting(UsbDeviceRef dev);
    void updateJudged(UsbDeviceRef dev, bool done); ///< the answer to bootloaderLeft

    // From discovery, for the pod itself.
    void launchDfu(UsbDeviceRef dev);
    void updateDone(UsbDeviceRef dev);
    void bootloaderLeft(UsbDeviceRef dev);

private:
    static constexpr int kUdidBytes = 8;

    /// Sends it; the byte that should be its ack, 0 when none came.
    uint8_t command(uint8_t byte);
    void readUDID();
    void downloadData();
    void eraseArchived();
    void pollCharge();
    void errorHandler();

    const int m_idx; ///< slot 0 to 29
    UsbDeviceRef m_dev;
    UIBackEnd& m_uibackend;
    const bool m_dfu_mode;
    const bool m_new_firmware;
    UsbHandle m_dev_handle;
    std::atomic<bool> m_updating{false};
    bool m_update_done = false;
    int m_progress = 0; ///< percent
    bool m_pod_charged = false;
    bool m_answered = false; ///< the controller's answer was acted on
    std::array<uint8_t, kUdidBytes> m_pod_udid{};
    QString m_ozu_file_path;
    std::shared_ptr<ArchiveTicket> m_ticket = std::make_shared<ArchiveTicket>();
};
