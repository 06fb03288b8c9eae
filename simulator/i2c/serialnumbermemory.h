#pragma once

#include "testbed/nodehandler.h"

#include <QByteArray>

#include <array>
#include <map>

class Testbed;

/// The memory chip with the station's serial number, at address 0x51 of the bus "/dev/i2c-3": 256
/// bytes behind an address pointer, the EUI-48 in the last six. The other addresses of the bus are
/// empty and answer ENXIO. Kept by the testbed, on whose server's thread it works.
class SerialNumberMemory : public NodeHandler
{
public:
    static QByteArray defaultEui48() { return QByteArray::fromHex("0004A3123456"); }
    /// Puts one with this number (6 bytes) into the testbed.
    static void install(Testbed& testbed, const QByteArray& eui48 = defaultEui48());

    explicit SerialNumberMemory(const QByteArray& eui48);

    void handle(NodeClient& client, const NodeCall& call) override;
    void clientGone(const NodeClient& client) override { m_selected.erase(&client); }

private:
    void select(NodeClient& client, const NodeCall& call);
    void write(NodeClient& client, const NodeCall& call);
    void read(NodeClient& client, const NodeCall& call);

    std::array<char, 256> m_memory{};
    quint8 m_pointer = 0;
    std::map<const NodeClient*, unsigned long> m_selected; ///< the address that each talks to
};
