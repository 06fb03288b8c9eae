#include "usb/usbaddress.h"

#include <QStringList>

namespace {
constexpr int pods_per_hub = 6;
constexpr int downstream_port = 7;
} // namespace

UsbAddress::UsbAddress(QList<int> ports, int device_number)
    : m_ports(std::move(ports))
    , m_device_number(device_number)
{
}

QList<int> UsbAddress::hubChain(int hubs)
{
    QList<int> ports;
    for (int hub = 0; hub < hubs; ++hub)
        ports.append(downstream_port);
    return ports;
}

QList<int> UsbAddress::portsOfSlot(int slot)
{
    const int hub = 5 - slot / pods_per_hub;
    return hubChain(hub) << pods_per_hub - slot % pods_per_hub;
}

QString UsbAddress::portPath() const
{
    if (isRootHub())
        return QStringLiteral("0");
    QStringList ports;
    for (const int port : m_ports)
        ports.append(QString::number(port));
    return ports.join(QLatin1Char('.'));
}

QString UsbAddress::name() const
{
    if (isRootHub())
        return QStringLiteral("usb%1").arg(bus_number);
    return QStringLiteral("%1-%2").arg(bus_number).arg(portPath());
}

QString UsbAddress::sysfsPath() const
{
    if (isRootHub())
        return QStringLiteral("/devices/platform/simulated-usb/") + name();
    QList<int> parent_ports = m_ports;
    parent_ports.removeLast();
    return UsbAddress(parent_ports, 0).sysfsPath() + QLatin1Char('/') + name();
}

QString UsbAddress::nodeName() const
{
    return QStringLiteral("bus/usb/%1/%2")
        .arg(bus_number, 3, 10, QLatin1Char('0'))
        .arg(m_device_number, 3, 10, QLatin1Char('0'));
}

QString UsbAddress::deviceId() const
{
    return QStringLiteral("%1:%2").arg(major_number).arg(minorNumber());
}
