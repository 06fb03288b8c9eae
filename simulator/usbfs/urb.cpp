#include "usbfs/urb.h"

namespace {

constexpr int kLongestBytes = 16 * 1024 * 1024; // as the kernel's own limit
constexpr int kSetupBytes = 8;
constexpr unsigned kDirectionIn = 0x80;

} // namespace

Urb::Urb(NodeClient& host, unsigned long address)
    : m_host(&host)
    , m_address(address)
{
    if (!host.readMemory(address, &m_fields, sizeof(m_fields)) || lengthBytes() < 0 ||
        lengthBytes() > kLongestBytes)
        return;
    m_buffer.resize(size_t(lengthBytes()));
    m_valid = !fromHost() || host.readMemory(m_fields.buffer, buffer(), size_t(lengthBytes()));
}

bool Urb::fromHost() const
{
    const bool control = type() == USBDEVFS_URB_TYPE_CONTROL;
    return lengthBytes() > 0 && (control || (endpoint() & kDirectionIn) == 0);
}

void Urb::finish(int status, int actual_length_bytes)
{
    m_fields.status = status;
    m_fields.actual_length = actual_length_bytes;
}

void Urb::handOver(unsigned long reaped) const
{
    const int header_bytes = type() == USBDEVFS_URB_TYPE_CONTROL ? kSetupBytes : 0;
    const bool to_host = header_bytes > 0 || (endpoint() & kDirectionIn) != 0;
    if (to_host && m_fields.actual_length > 0)
        m_host->writeMemory(m_fields.buffer, m_buffer.data(),
                            size_t(header_bytes) + size_t(m_fields.actual_length));
    m_host->writeMemory(m_address, &m_fields, sizeof(m_fields));
    m_host->writeMemory(reaped, &m_address, sizeof(m_address));
}
