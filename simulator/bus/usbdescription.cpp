#include "bus/usbdescription.h"

#include <QtEndian>

namespace {

/// With seven ports. Spaces part the fields, double ones the descriptors.
UsbDescription hub(const char* device, QStringList strings)
{
    return {QByteArray::fromHex(device),
            QByteArray::fromHex("09 02 1900 01 01 00 E0 00"    // self-powered
                                "  09 04 00 00 01 09 00 00 00" // interface 0, a hub
                                "  07 05 81 03 0100 0C"),      // interrupt
            std::move(strings), 480, 7};
}

} // namespace

UsbDescription UsbDescription::rootHub()
{
    return hub("12 01 0002 09 00 01 40 6B1D 0200 0001 01 02 03 01",
               {QStringLiteral("Corvane bench"), QStringLiteral("Simulated host controller"),
                QStringLiteral("bench")});
}

UsbDescription UsbDescription::sevenPortHub()
{
    return hub(
        "12 01 0002 09 00 01 40 2404 1725 0001 01 02 03 01",
        {QStringLiteral("Corvane bench"), QStringLiteral("Seven-port hub"), QStringLiteral("hub")});
}

UsbDescription UsbDescription::pod(PodMode mode, const PodSettings& settings)
{
    constexpr int kProductAt = 10;
    const bool bootloader = mode == PodMode::Bootloader;
    QByteArray device =
        QByteArray::fromHex(bootloader ? "12 01 0002 02 00 00 40 1519 1F52 0001 01 02 03 01"
                                       : "12 01 0002 02 00 00 40 1519 0352 0001 01 02 03 01");
    if (settings.foreign_product != 0)
        qToLittleEndian(settings.foreign_product, device.data() + kProductAt);
    return {device,
            QByteArray::fromHex("09 02 4300 02 01 00 80 FA"    // 500 mA
                                "  09 04 00 00 01 02 02 01 00" // interface 0, ACM
                                "  05 24 00 1001"              // CDC 1.10
                                "  05 24 01 00 01"             // call management
                                "  04 24 02 02"                // line coding and state
                                "  05 24 06 00 01"             // union of 0 and 1
                                "  07 05 82 03 1000 40"        // interrupt
                                "  09 04 01 00 02 0A 00 00 00" // interface 1, CDC data
                                "  07 05 81 02 4000 00  07 05 01 02 4000 00"), // bulk
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
        return QByteArray::fromHex("04 03 0904"); // the one language: English (United States)
    if (index > strings.size())
        return {};
    const QString text = strings.at(index - 1);
    QByteArray descriptor(1, char(2 + 2 * text.size()));
    descriptor += '\x03';
    for (const QChar unit : text)
        descriptor.append(char(unit.cell())).append(char(unit.row()));
    return descriptor;
}

QByteArray UsbDescription::hubDescriptor() const
{
    QByteArray descriptor = QByteArray::fromHex("09 29 00 0000 32 00 00 FF");
    descriptor[2] = char(ports);
    return descriptor;
}
