#pragma once

#include "usb/gobjectref.h"
#include "usb/pacer.h"

#include <linux/usbdevice_fs.h>
#include <umockdev.h>

/// One USB request block, from its submission until its host reaps it: the host's own structure and
/// buffer, mirrored here by umockdev and written back when it is reaped. Move-only.
class Urb
{
public:
    /// Takes the request that the argument of a SUBMITURB points to. Throws nothing: a host that
    /// dies meanwhile leaves an empty request, see isValid().
    Urb(UMockdevIoctlClient* client, UMockdevIoctlData* argument);

    bool isValid() const { return m_request && (m_buffer || lengthBytes() == 0); }
    const UMockdevIoctlClient* client() const { return m_client; }
    /// The address that the host knows it by.
    gulong address() const { return m_request->client_addr; }
    unsigned char type() const { return fields()->type; }
    unsigned char endpoint() const { return fields()->endpoint; }
    int lengthBytes() const { return fields()->buffer_length; }
    char* buffer() const { return m_buffer ? reinterpret_cast<char*>(m_buffer->data) : nullptr; }

    /// `status` as the kernel's: 0 or a negative errno.
    void finish(int status, int actual_length_bytes) const;
    /// Lets the host's pointer, the argument of a REAPURB, point to this request.
    void handOver(UMockdevIoctlData* argument) const;

    bool moving = false; ///< its bytes are on the wire until `due`
    Pacer::TimePoint due;

private:
    usbdevfs_urb* fields() const { return reinterpret_cast<usbdevfs_urb*>(m_request->data); }

    const UMockdevIoctlClient* m_client;
    GObjectRef<UMockdevIoctlData> m_request;
    GObjectRef<UMockdevIoctlData> m_buffer;
};
