#include "usbfs/nodeclient.h"

#include <sys/socket.h>
#include <sys/uio.h>

namespace {

constexpr unsigned long kCallDone = 3;
constexpr unsigned long kReadMemory = 5;
constexpr unsigned long kWriteMemory = 6;

} // namespace

bool NodeClient::receiveExactly(void* out, std::size_t length_bytes)
{
    if (!m_broken)
        m_broken = ::recv(m_socket.get(), out, length_bytes, MSG_WAITALL) != ssize_t(length_bytes);
    return !m_broken;
}

bool NodeClient::send(const Words& words, const void* data, std::size_t length_bytes)
{
    // One message: the triple is at its start and cannot be torn.
    std::array<iovec, 2> parts{{{const_cast<unsigned long*>(words.data()), sizeof(words)},
                                {const_cast<void*>(data), length_bytes}}};
    msghdr message{};
    message.msg_iov = parts.data();
    message.msg_iovlen = parts.size();
    const auto total_bytes = ssize_t(sizeof(words) + length_bytes);
    if (!m_broken)
        m_broken = ::sendmsg(m_socket.get(), &message, MSG_NOSIGNAL) != total_bytes;
    return !m_broken;
}

bool NodeClient::receive(NodeCall& call)
{
    return receiveExactly(&call, sizeof(call));
}

bool NodeClient::readMemory(unsigned long address, void* out, std::size_t length_bytes)
{
    return send({kReadMemory, address, length_bytes}, nullptr, 0) &&
           receiveExactly(out, length_bytes);
}

bool NodeClient::writeMemory(unsigned long address, const void* data, std::size_t length_bytes)
{
    return send({kWriteMemory, address, length_bytes}, data, length_bytes);
}

bool NodeClient::complete(long result, int error)
{
    return send({kCallDone, static_cast<unsigned long>(result), static_cast<unsigned long>(error)},
                nullptr, 0);
}
