#include "usb/urb.h"

#include <cstddef>

Urb::Urb(UMockdevIoctlClient* client, UMockdevIoctlData* argument)
    : m_client(client)
    , m_request(umockdev_ioctl_data_resolve(argument, 0, sizeof(usbdevfs_urb), nullptr))
{
    if (m_request && lengthBytes() > 0)
        m_buffer.reset(umockdev_ioctl_data_resolve(m_request.get(), offsetof(usbdevfs_urb, buffer),
                                                   gsize(lengthBytes()), nullptr));
}

void Urb::finish(int status, int actual_length_bytes) const
{
    fields()->status = status;
    fields()->actual_length = actual_length_bytes;
}

void Urb::handOver(UMockdevIoctlData* argument) const
{
    const GObjectRef<UMockdevIoctlData> pointer(
        umockdev_ioctl_data_resolve(argument, 0, sizeof(void*), nullptr));
    if (pointer)
        umockdev_ioctl_data_set_ptr(pointer.get(), 0, m_request.get());
}
