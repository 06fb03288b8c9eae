#pragma once

#include "common/pacer.h"
#include "usbfs/nodeclient.h"

#include <linux/usbdevice_fs.h>

#include <cstddef>
#include <vector>

/// One USB request block, from its submission until its host reaps it. Move-only.
class Urb
{
public:
    /// The request at this address in the host's memory; isValid() is false when it is not there.
    Urb(NodeClient& host, unsigned long address);

    bool isValid() const { return m_valid; }
    const NodeClient* host() const { return m_host; }
    unsigned long address() const { return m_address; }
    unsigned char type() const { return m_fields.type; }
    unsigned char endpoint() const { return m_fields.endpoint; }
    int lengthBytes() const { return m_fields.buffer_length; }
    char* buffer() { return m_buffer.data(); }

    /// `status` as the kernel's: 0 or a negative errno.
    void finish(int status, int actual_length_bytes);
    /// Gives the host its data and status, and at `reaped` the address of this request.
    void handOver(unsigned long reaped) const;

    Passage passage;

private:
    /// How the kernel's usbdevfs_urb begins; what follows is the host's alone.
    struct Fields
    {
        unsigned char type;
        unsigned char endpoint;
        int status;
        unsigned flags;
        unsigned long buffer;
        int buffer_length;
        int actual_length;
    };
    static_assert(offsetof(usbdevfs_urb, actual_length) == offsetof(Fields, actual_length));

    bool fromHost() const;

    NodeClient* m_host;
    unsigned long m_address;
    Fields m_fields{};
    std::vector<char> m_buffer;
    bool m_valid = false;
};
