#pragma once

#include "bus/usbaddress.h"
#include "bus/usbdescription.h"

#include <QByteArray>
#include <QString>

/// Writes USB devices into the testbed's "/sys" as the kernel shows them, and "/dev/.node", where
/// umockdev looks up device numbers. A device is written from the inside out: it is in the list of
/// the bus, where hosts look for it, only once all of it is there. umockdev's own functions list
/// it first, and need the caller to run inside the testbed.
/// Not thread-safe. Ends the program when the testbed cannot be written.
class SysfsTree
{
public:
    explicit SysfsTree(const QString& testbed_dir);

    void add(const UsbAddress& address, const UsbDescription& description);
    void remove(const UsbAddress& address);

    /// What a uevent and the file "uevent" tell about a device, one NAME=value a line.
    static QByteArray properties(const UsbAddress& address, const UsbDescription& description);

private:
    void writeAttributes(const QString& dir, const UsbAddress& address,
                         const UsbDescription& description) const;
    QString busLink(const UsbAddress& address) const;
    QString numberLink(const UsbAddress& address) const;
    QString nodeLink(const UsbAddress& address) const;

    QString m_sys;
    QString m_dev;
};
