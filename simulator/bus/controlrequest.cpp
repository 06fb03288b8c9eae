#include "bus/controlrequest.h"

#include <QtEndian>

namespace {

constexpr int kSetLineCoding = 0x2120;
constexpr int kSetControlLineState = 0x2122;
constexpr int kClearEndpointFeature = 0x0201;
constexpr int kGetDeviceStatus = 0x8000;
constexpr int kGetDescriptor = 0x8006;
constexpr int kGetConfiguration = 0x8008;
constexpr int kGetInterfaceStatus = 0x8100;
constexpr int kGetInterface = 0x810A;
constexpr int kGetEndpointStatus = 0x8200;
constexpr int kGetHubStatus = 0xA000;
constexpr int kGetHubDescriptor = 0xA006;
constexpr int kGetPortStatus = 0xA300;

constexpr int kDeviceDescriptor = 1;
constexpr int kConfigurationDescriptor = 2;
constexpr int kStringDescriptor = 3;

constexpr int kEndpointHalt = 0;

/// Port powered, high-speed device connected and enabled.
constexpr int kPortInUse = 0x0503;

/// Request type, then request.
int requestOf(const QByteArray& setup)
{
    return quint8(setup.at(0)) << 8 | quint8(setup.at(1));
}

std::optional<QByteArray> descriptor(const UsbDescription& description, int type, int index)
{
    switch (type) {
    case kDeviceDescriptor:
        return description.device;
    case kConfigurationDescriptor:
        return description.configuration;
    case kStringDescriptor:
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

/// No endpoint is ever halted.
std::optional<QByteArray> answerEndpoint(const UsbDescription& description, const QByteArray& setup)
{
    if (!description.endpointType(quint8(setup.at(4))))
        return std::nullopt;
    if (requestOf(setup) == kGetEndpointStatus)
        return littleEndian(0).left(2);
    return setup.at(2) == kEndpointHalt ? std::optional(QByteArray()) : std::nullopt;
}

std::optional<QByteArray> answerHub(const UsbDescription& description, int request)
{
    switch (request) {
    case kGetHubDescriptor:
        return description.hubDescriptor();
    case kGetHubStatus:
        return littleEndian(0);
    case kGetPortStatus:
        return littleEndian(kPortInUse);
    default:
        return std::nullopt;
    }
}

std::optional<QByteArray> answerPod(int request)
{
    if (request == kSetLineCoding || request == kSetControlLineState)
        return QByteArray();
    return std::nullopt;
}

} // namespace

void noteSerialLine(PodModel& pod, const QByteArray& setup, const QByteArray& data)
{
    const int request = requestOf(setup);
    if (request == kSetControlLineState)
        pod.setLineState(quint8(setup.at(2)));
    if (request == kSetLineCoding)
        pod.setLineCoding(data);
}

std::optional<QByteArray> answerControlRequest(const UsbDescription& description,
                                               const QByteArray& setup)
{
    const int request = requestOf(setup);
    switch (request) {
    case kGetDescriptor:
        return descriptor(description, quint8(setup.at(3)), quint8(setup.at(2)));
    case kClearEndpointFeature:
    case kGetEndpointStatus:
        return answerEndpoint(description, setup);
    case kGetDeviceStatus:
    case kGetInterfaceStatus:
        return littleEndian(0).left(2);
    case kGetConfiguration:
        return QByteArray(1, '\1');
    case kGetInterface:
        return QByteArray(1, '\0');
    default:
        return description.isHub() ? answerHub(description, request) : answerPod(request);
    }
}
