#pragma once

#include "main/archiveticket.h"
#include "utils/usbcontext.h"

#include <QObject>
#include <QString>

#include <array>
#include <memory>

class UIBackEnd;

/// One plugged-in pod. Made by discovery, moved to a worker thread of its own and deleted there
/// after `finished`; what discovery calls is marked, all else belongs to that thread.
/// Owns the open libusb handle. Every failure ends in errorHandler: a log line, progress -2.
class Pod : public QObject
{
    Q_OBJECT

public:
    Pod(int idx, UsbDeviceRef dev, UIBackEnd& uibackend);
    ~Pod() override;
    Pod(const Pod&) = delete;
    Pod& operator=(const Pod&) = delete;
    Pod(Pod&&) = delete;
    Pod& operator=(Pod&&) = delete;

    int getIdx() const { return m_idx; }
    /// Thread-safe: set once, at construction.
    libusb_device* getDev() const { return m_dev.get(); }
    libusb_device_handle* getDevHandle() const { return m_dev_handle; }
    /// "tmp/" + 15 hexadecimal digits + ".ozu"; "tmp/" alone before the identifier is known.
    QString getOzuFilePath() const { return m_ozu_file_path; }

    /// Makes the data file this pod's own, waiting for another pod of the same name.
    ArchiveTicket::Claim claimDataFile() { return m_ticket->claim(m_ozu_file_path); }
    std::shared_ptr<ArchiveTicket> ticket() const { return m_ticket; }
    /// Thread-safe. Discovery, at removal: from then on nothing of this pod reaches the screen.
    void disconnectScreen();

public slots:
    /// The controller's answer, broadcast to all pods; acts once, and only on the answer to this
    /// pod's own data file.
    void erasePod(bool erase, int idx);
    void tasks();
    void chargingLoop();

signals:
    void setSyncProgress(int idx,
                         int value); ///< 0 to 100 %, 101 finished, -1 wrong digest, -2 failed
    void setChargingState(int idx, int state); ///< the pod's own status byte; 22 once at the start
    void dataReady(QString path, int idx);
    void finished();
    void syncInProgress(bool failed); ///< false begins a synchronisation, true takes it back
    void podEmpty();
    void syncDone();

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
    const UsbDeviceRef m_dev;
    UIBackEnd& m_uibackend;
    libusb_device_handle* m_dev_handle = nullptr; ///< owned; null while closed
    bool m_pod_charged = false;
    bool m_answered = false; ///< the controller's answer was acted on
    std::array<uint8_t, kUdidBytes> m_pod_udid{};
    QString m_ozu_file_path;
    std::shared_ptr<ArchiveTicket> m_ticket = std::make_shared<ArchiveTicket>();
};
