#pragma once

#include <QList>
#include <QString>

/// Where a device sits on the simulated bus and how the system names it there. A value.
/// The place is the list of ports on the way from the root hub, which itself has an empty one.
class UsbAddress
{
public:
    static constexpr int kBusNumber = 1;
    static constexpr int kMajorNumber = 189;
    static constexpr int kHubs = 5; ///< each on the last port of the one before

    UsbAddress(QList<int> ports, int device_number);

    /// Slots 0 to 29 sit on ports 6 to 1 of the deepest of the five chained hubs, and so on
    /// upwards; each hub's port 7 leads to the next one.
    static QList<int> portsOfSlot(int slot);
    /// The hubs are numbered 1 to 5 from the root.
    static QList<int> portsOfHub(int hub);

    int deviceNumber() const { return m_device_number; }
    bool isRootHub() const { return m_ports.isEmpty(); }
    /// As in "1-7.7.3", or "usb1".
    QString name() const;
    /// As in "7.7.3", or "0".
    QString portPath() const;
    /// Below "/sys", through all parents.
    QString sysfsPath() const;
    /// As in "bus/usb/001/005", below "/dev".
    QString nodeName() const;
    /// As in "189:4".
    QString deviceId() const;
    int minorNumber() const { return m_device_number - 1; }

private:
    QList<int> m_ports;
    int m_device_number;
};
