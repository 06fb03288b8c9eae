#pragma once

#include "system/uniquefd.h"

#include <QtGlobal>

#include <array>
#include <cstddef>

/// One call of a program on a simulated device node. The numbers are the preload's own.
struct NodeCall
{
    enum class Kind : unsigned long { Ioctl = 1, Read = 7, Write = 8 };

    Kind kind;
    unsigned long request_or_address; ///< of an ioctl its request, else the program's buffer
    unsigned long argument_or_length;
};
static_assert(sizeof(NodeCall) == 3 * sizeof(unsigned long));

/// A program that has a simulated device node open, seen from behind the node: its calls, its
/// memory while a call waits, and the call's result. Belongs to the server's thread. When the
/// program is gone, everything fails and isBroken() says so.
///
/// The other side is umockdev's preload: it sends each call as three words over a stream socket and
/// serves { 5, address, length } (read its memory), { 6, address, length } with the bytes (write
/// it) until { 3, result, errno } ends the call. It takes every such triple to arrive whole.
class NodeClient
{
public:
    explicit NodeClient(UniqueFd socket)
        : m_socket(std::move(socket))
    {
    }

    int socket() const { return m_socket.get(); }
    bool isBroken() const { return m_broken; }

    bool receive(NodeCall& call);
    bool readMemory(unsigned long address, void* out, std::size_t length_bytes);
    bool writeMemory(unsigned long address, const void* data, std::size_t length_bytes);
    bool complete(long result, int error);
    /// The result with which the preload makes the call on the real node instead.
    bool completeUnhandled() { return complete(-100, 0); }

private:
    using Words = std::array<unsigned long, 3>;
    bool send(const Words& words, const void* data, std::size_t length_bytes);
    bool receiveExactly(void* out, std::size_t length_bytes);

    UniqueFd m_socket;
    bool m_broken = false;
};
