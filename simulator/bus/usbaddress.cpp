#include "bus/usbaddress.h"

#include <QStringList>

namespace {
constexpr int kPodsPerHub = 6;
constexpr int kDownstreamPort = 7;
} // namespace

UsbAddress::UsbAddress(QList<int> ports, int device_number)
    : m_ports(std::move(ports))
    , m_device_number(device_number)
{
}

QList<int> UsbAddress::portsOfHub(int hub)
{
    return QVector<int>(hub, kDownstreamPort).toList();
}

QList<int> UsbAddress::portsOfSlot(int slot)
{
    return portsOfHub(kHubs - slot / kPodsPerHub) << kPodsPerHub - slot % kPodsPerHub;
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
        return QStringLiteral("usb%1").arg(kBusNumber);
    return QStringLiteral("%1-%2").arg(kBusNumber).arg(portPath());
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
        .arg(kBusNumber, 3, 10, QLatin1Char('0'))
        .arg(m_device_number, 3, 10, QLatin1Char('0'));
}

QString UsbAddress::deviceId() const
{
    return QStringLiteral("%1:%2").arg(kMajorNumber).arg(minorNumber());
}
