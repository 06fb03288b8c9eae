#include "bus/usbdescription.h"

#include <QtEndian>

#include <initializer_list>

namespace {

constexpr int kPodVendor = 0x1915;
constexpr int kPodProduct = 0x5203;
constexpr int kBootloaderProduct = 0x521F;

QByteArray bytes(std::initializer_list<int> values)
{
    QByteArray result;
    for (const int value : values)
        result.append(char(value));
    return result;
}

int low(int word)
{
    return word & 0xFF;
}

int high(int word)
{
    return word >> 8;
}

QByteArray deviceDescriptor(int usb_version, std::initializer_list<int> device_class, int packet,
                            int vendor, int product)
{
    QByteArray descriptor = bytes({18, 1, low(usb_version), high(usb_version)});
    descriptor += bytes(device_class);
    descriptor += bytes(
        {packet, low(vendor), high(vendor), low(product), high(product), 0x00, 0x01, 1, 2, 3, 1});
    return descriptor;
}

QByteArray configurationDescriptor(int interfaces, int attributes, int milliamperes,
                                   const QByteArray& rest)
{
    const int total = 9 + rest.size();
    return bytes({9, 2, low(total), high(total), interfaces, 1, 0, attributes, milliamperes / 2}) +
           rest;
}

QByteArray endpoint(int address, int type, int packet, int interval)
{
    return bytes({7, 5, address, type, low(packet), high(packet), interval});
}

UsbDescription hub(int vendor, int product, QStringList strings)
{
    const QByteArray interface = bytes({9, 4, 0, 0, 1, 9, 0, 0, 0}) + endpoint(0x81, 3, 1, 12);
    return {deviceDescriptor(0x0200, {9, 0, 1}, 64, vendor, product),
            configurationDescriptor(1, 0xE0, 0, interface), std::move(strings), 480, 7};
}

} // namespace

UsbDescription UsbDescription::rootHub()
{
    return hub(0x1D6B, 0x0002,
               {QStringLiteral("Corvane bench"), QStringLiteral("Simulated host controller"),
                QStringLiteral("bench")});
}

UsbDescription UsbDescription::sevenPortHub()
{
    return hub(
        0x0424, 0x2517,
        {QStringLiteral("Corvane bench"), QStringLiteral("Seven-port hub"), QStringLiteral("hub")});
}

UsbDescription UsbDescription::pod(PodMode mode, const PodSettings& settings)
{
    const bool bootloader = mode == PodMode::Bootloader;
    const int product = bootloader ? kBootloaderProduct : kPodProduct;
    const QByteArray communication = bytes({9, 4, 0, 0, 1, 2, 2, 1, 0})   // interface 0, ACM
                                     + bytes({5, 0x24, 0x00, 0x10, 0x01}) // CDC 1.10
                                     + bytes({5, 0x24, 0x01, 0x00, 1})    // call management
                                     + bytes({4, 0x24, 0x02, 0x02})       // line coding and state
                                     + bytes({5, 0x24, 0x06, 0, 1})       // union of 0 and 1
                                     + endpoint(0x82, 3, 16, 64);
    const QByteArray data = bytes({9, 4, 1, 0, 2, 10, 0, 0, 0}) // interface 1, CDC data
                            + endpoint(0x81, 2, 64, 0) + endpoint(0x01, 2, 64, 0);
    return {deviceDescriptor(0x0200, {2, 0, 0}, 64, kPodVendor,
                             settings.foreign_product != 0 ? settings.foreign_product : product),
            configurationDescriptor(2, 0x80, 500, communication + data),
            {QStringLiteral("Corvane"),
             bootloader ? QStringLiteral("Pod bootloader") : QStringLiteral("Pod"),
             QString::fromLatin1(settings.udid.toHex().toUpper())},
            12,
            0};
}

int UsbDescription::interfaces() const
{
    return configuration.at(4);
}

std::optional<int> UsbDescription::endpointType(int address) const
{
    constexpr int kEndpointDescriptor = 5;
    if ((address & 0x7F) == 0)
        return kControl;
    for (int at = 0; at < configuration.size(); at += quint8(configuration.at(at)))
        if (configuration.at(at + 1) == kEndpointDescriptor &&
            quint8(configuration.at(at + 2)) == address)
            return configuration.at(at + 3) & 0x03;
    return std::nullopt;
}

quint16 UsbDescription::word(int offset) const
{
    return qFromLittleEndian<quint16>(device.constData() + offset);
}

QByteArray UsbDescription::stringDescriptor(int index) const
{
    if (index == 0)
        return bytes({4, 3, 0x09, 0x04}); // the one language: English (United States)
    if (index > strings.size())
        return {};
    const QString text = strings.at(index - 1);
    QByteArray descriptor = bytes({2 + 2 * text.size(), 3});
    for (const QChar unit : text)
        descriptor += bytes({unit.cell(), unit.row()});
    return descriptor;
}

QByteArray UsbDescription::hubDescriptor() const
{
    return bytes({9, 0x29, ports, 0x00, 0x00, 50, 0, 0x00, 0xFF});
}
