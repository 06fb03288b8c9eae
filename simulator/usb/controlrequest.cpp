#include "usb/controlrequest.h"

#include <QtEndian>

namespace {

constexpr int set_line_coding = 0x2120;
constexpr int set_control_line_state = 0x2122;
constexpr int get_device_status = 0x8000;
constexpr int get_descriptor = 0x8006;
constexpr int get_configuration = 0x8008;
constexpr int get_interface = 0x810A;
constexpr int get_hub_status = 0xA000;
constexpr int get_hub_descriptor = 0xA006;
constexpr int get_port_status = 0xA300;

constexpr int device_descriptor = 1;
constexpr int configuration_descriptor = 2;
constexpr int string_descriptor = 3;

/// Port powered, high-speed device connected and enabled.
constexpr int port_in_use = 0x0503;

std::optional<QByteArray> descriptor(const UsbDescription& description, int type, int index)
{
    switch (type) {
    case device_descriptor:
        return description.device;
    case configuration_descriptor:
        return description.configuration;
    case string_descriptor:
        if (const QByteArray text = description.stringDescriptor(index); !text.isEmpty())
            return text;
        return std::nullopt;
    default:
        return std::nullopt;
    }
}

QByteArray littleEndian(quint32 value)
{
    QByteArray bytes(sizeof(value), '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

std::optional<QByteArray> answerHub(const UsbDescription& description, int request)
{
    switch (request) {
    case get_hub_descriptor:
        return description.hubDescriptor();
    case get_hub_status:
        return littleEndian(0);
    case get_port_status:
        return littleEndian(port_in_use);
    default:
        return std::nullopt;
    }
}

std::optional<QByteArray> answerPod(int request)
{
    if (request == set_line_coding || request == set_control_line_state)
        return QByteArray();
    return std::nullopt;
}

} // namespace

std::optional<QByteArray> answerControlRequest(const UsbDescription& description,
                                               const QByteArray& setup)
{
    const int request = quint8(setup.at(0)) << 8 | quint8(setup.at(1));
    switch (request) {
    case get_descriptor:
        return descriptor(description, quint8(setup.at(3)), quint8(setup.at(2)));
    case get_device_status:
        return littleEndian(0).left(2);
    case get_configuration:
        return QByteArray(1, '\1');
    case get_interface:
        return QByteArray(1, '\0');
    default:
        return description.isHub() ? answerHub(description, request) : answerPod(request);
    }
}
