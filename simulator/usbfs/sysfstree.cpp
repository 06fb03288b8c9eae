#include "usbfs/sysfstree.h"

#include "usbfs/require.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

void writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    require(file.open(QIODevice::WriteOnly) && file.write(content) == content.size(), path);
}

void makeLink(const QString& target, const QString& path)
{
    QDir().mkpath(QFileInfo(path).path());
    require(QFile::link(target, path), path);
}

QByteArray hex(int value, int digits)
{
    return QByteArray::number(value, 16).rightJustified(digits, '0');
}

QByteArray threeDigits(int value)
{
    return QByteArray::number(value).rightJustified(3, '0');
}

QByteArray usbVersion(const UsbDescription& description)
{
    const int version = description.usbVersion();
    return QByteArray::number(version >> 8) + '.' + hex(version & 0xFF, 2);
}

} // namespace

SysfsTree::SysfsTree(const QString& testbed_dir)
    : m_sys(testbed_dir + QLatin1String("/sys"))
    , m_dev(testbed_dir + QLatin1String("/dev"))
{
}

QByteArray SysfsTree::properties(const UsbAddress& address, const UsbDescription& description)
{
    const QByteArray product = QByteArray::number(description.vendorId(), 16) + '/' +
                               QByteArray::number(description.productId(), 16) + '/' +
                               QByteArray::number(description.release(), 16);
    const QByteArray type = QByteArray::number(description.deviceByte(4)) + '/' +
                            QByteArray::number(description.deviceByte(5)) + '/' +
                            QByteArray::number(description.deviceByte(6));
    const QByteArray major_number = QByteArray::number(UsbAddress::kMajorNumber);
    return "MAJOR=" + major_number + "\nMINOR=" + QByteArray::number(address.minorNumber()) +
           "\nDEVNAME=" + address.nodeName().toLatin1() +
           "\nDEVTYPE=usb_device\nDRIVER=usb\nPRODUCT=" + product + "\nTYPE=" + type +
           "\nBUSNUM=" + threeDigits(UsbAddress::kBusNumber) +
           "\nDEVNUM=" + threeDigits(address.deviceNumber()) + '\n';
}

void SysfsTree::writeAttributes(const QString& dir, const UsbAddress& address,
                                const UsbDescription& description) const
{
    const auto attribute = [&](const char* name, const QByteArray& value) {
        writeFile(dir + QLatin1Char('/') + QLatin1String(name), value + '\n');
    };
    attribute("busnum", QByteArray::number(UsbAddress::kBusNumber));
    attribute("devnum", QByteArray::number(address.deviceNumber()));
    attribute("devpath", address.portPath().toLatin1());
    attribute("dev", address.deviceId().toLatin1());
    attribute("speed", QByteArray::number(description.megabits_per_second));
    attribute("rx_lanes", "1");
    attribute("tx_lanes", "1");
    attribute("version", usbVersion(description).rightJustified(5));
    attribute("maxchild", QByteArray::number(description.ports));
    attribute("idVendor", hex(description.vendorId(), 4));
    attribute("idProduct", hex(description.productId(), 4));
    attribute("bcdDevice", hex(description.release(), 4));
    attribute("bDeviceClass", hex(description.deviceByte(4), 2));
    attribute("bDeviceSubClass", hex(description.deviceByte(5), 2));
    attribute("bDeviceProtocol", hex(description.deviceByte(6), 2));
    attribute("bMaxPacketSize0", QByteArray::number(description.deviceByte(7)));
    attribute("bNumConfigurations", "1");
    attribute("configuration", "");
    attribute("bConfigurationValue", "1");
    attribute("bNumInterfaces", QByteArray::number(description.interfaces()).rightJustified(2));
    attribute("bmAttributes", hex(quint8(description.configuration.at(7)), 2));
    attribute("bMaxPower", QByteArray::number(2 * quint8(description.configuration.at(8))) + "mA");
    attribute("manufacturer", description.strings.at(0).toUtf8());
    attribute("product", description.strings.at(1).toUtf8());
    attribute("serial", description.strings.at(2).toUtf8());
    writeFile(dir + QLatin1String("/descriptors"), description.device + description.configuration);
    writeFile(dir + QLatin1String("/uevent"), properties(address, description));
}

QString SysfsTree::busLink(const UsbAddress& address) const
{
    return m_sys + QLatin1String("/bus/usb/devices/") + address.name();
}

QString SysfsTree::numberLink(const UsbAddress& address) const
{
    return m_sys + QLatin1String("/dev/char/") + address.deviceId();
}

QString SysfsTree::nodeLink(const UsbAddress& address) const
{
    return m_dev + QLatin1String("/.node/") +
           address.nodeName().replace(QLatin1Char('/'), QLatin1Char('_'));
}

void SysfsTree::add(const UsbAddress& address, const UsbDescription& description)
{
    const QString path = address.sysfsPath();
    const QString dir = m_sys + path;
    QDir().mkpath(dir);
    writeAttributes(dir, address, description);
    const QString up = QStringLiteral("../").repeated(path.count(QLatin1Char('/')));
    makeLink(up + QLatin1String("bus/usb"), dir + QLatin1String("/subsystem"));
    makeLink(address.deviceId(), nodeLink(address));
    makeLink(QLatin1String("../..") + path, numberLink(address));
    makeLink(QLatin1String("../../..") + path, busLink(address));
}

void SysfsTree::remove(const UsbAddress& address)
{
    QFile::remove(busLink(address));
    QFile::remove(numberLink(address));
    QFile::remove(nodeLink(address));
    QDir(m_sys + address.sysfsPath()).removeRecursively();
}
