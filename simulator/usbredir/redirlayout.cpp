#include "usbredir/redirlayout.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr int kInterfaceDescriptor = 4;
constexpr int kEndpointDescriptor = 5;
constexpr int kControlPacketBytes = 64;

/// The OUT endpoints come first, then the IN endpoints, sixteen each.
int placeOf(int address)
{
    return (address & 0x0F) | (address & 0x80) >> 3;
}

void addInterface(usb_redir_interface_info_header& interfaces, const QByteArray& descriptor)
{
    const quint32 at = interfaces.interface_count++;
    interfaces.interface[at] = quint8(descriptor.at(2));
    interfaces.interface_class[at] = quint8(descriptor.at(5));
    interfaces.interface_subclass[at] = quint8(descriptor.at(6));
    interfaces.interface_protocol[at] = quint8(descriptor.at(7));
}

void addEndpoint(usb_redir_ep_info_header& endpoints, int interface, const QByteArray& descriptor)
{
    const int at = placeOf(quint8(descriptor.at(2)));
    endpoints.type[at] = quint8(descriptor.at(3)) & 0x03;
    endpoints.interface[at] = quint8(interface);
    endpoints.max_packet_size[at] =
        quint16(quint8(descriptor.at(4)) | quint8(descriptor.at(5)) << 8);
    endpoints.interval[at] = quint8(descriptor.at(6));
}

} // namespace

RedirLayout redirLayout(const QByteArray& configuration)
{
    RedirLayout layout{};
    std::fill(std::begin(layout.endpoints.type), std::end(layout.endpoints.type),
              quint8(usb_redir_type_invalid));
    for (const int address : {0x00, 0x80}) {
        layout.endpoints.type[placeOf(address)] = usb_redir_type_control;
        layout.endpoints.max_packet_size[placeOf(address)] = kControlPacketBytes;
    }
    int interface = 0;
    for (int at = 0; at < configuration.size(); at += quint8(configuration.at(at))) {
        const QByteArray descriptor = configuration.mid(at, quint8(configuration.at(at)));
        if (descriptor.at(1) == kInterfaceDescriptor) {
            interface = quint8(descriptor.at(2));
            addInterface(layout.interfaces, descriptor);
        } else if (descriptor.at(1) == kEndpointDescriptor) {
            addEndpoint(layout.endpoints, interface, descriptor);
        }
    }
    return layout;
}
