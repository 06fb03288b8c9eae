#pragma once

#include "bus/memorychip.h"
#include "usbfs/nodehandler.h"

#include <map>

class Testbed;

/// The bus "/dev/i2c-3" with the chip that holds the station's serial number; its other addresses
/// are empty and answer ENXIO. Kept by the testbed, on whose server's thread it works.
class SerialNumberMemory : public NodeHandler
{
public:
    /// Puts one with this number (6 bytes) into the testbed.
    static void install(Testbed& testbed, const QByteArray& eui48 = MemoryChip::defaultEui48());

    explicit SerialNumberMemory(const QByteArray& eui48);

    void handle(NodeClient& client, const NodeCall& call) override;
    void clientGone(const NodeClient& client) override { m_selected.erase(&client); }

private:
    void select(NodeClient& client, const NodeCall& call);
    void write(NodeClient& client, const NodeCall& call);
    void read(NodeClient& client, const NodeCall& call);

    MemoryChip m_chip;
    std::map<const NodeClient*, unsigned long> m_selected; ///< the address that each talks to
};
