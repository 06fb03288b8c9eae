#include "i2c/serialnumbermemory.h"

#include "testbed/require.h"
#include "testbed/testbed.h"

#include <QFile>

#include <linux/i2c-dev.h>

#include <algorithm>
#include <cerrno>

namespace {
constexpr unsigned long kChipAddress = 0x51;
constexpr int kEui48At = 0xFA;
constexpr int kEui48Bytes = 6;
} // namespace

void SerialNumberMemory::install(Testbed& testbed, const QByteArray& eui48)
{
    const QString node = QStringLiteral("/dev/i2c-3");
    QFile file(testbed.dir() + node);
    require(file.open(QIODevice::WriteOnly), file.fileName());
    testbed.nodes().attach(node, std::make_shared<SerialNumberMemory>(eui48));
}

SerialNumberMemory::SerialNumberMemory(const QByteArray& eui48)
{
    Q_ASSERT(eui48.size() == kEui48Bytes);
    m_memory.fill('\xFF');
    std::copy(eui48.begin(), eui48.end(), m_memory.begin() + kEui48At);
}

void SerialNumberMemory::handle(NodeClient& client, const NodeCall& call)
{
    if (call.kind == NodeCall::Kind::Ioctl)
        return select(client, call);
    const auto selected = m_selected.find(&client);
    if (selected == m_selected.end() || selected->second != kChipAddress) {
        client.complete(-1, ENXIO);
        return;
    }
    if (call.kind == NodeCall::Kind::Write)
        write(client, call);
    else
        read(client, call);
}

void SerialNumberMemory::select(NodeClient& client, const NodeCall& call)
{
    if (call.request_or_address != I2C_SLAVE) {
        client.complete(-1, ENOTTY);
        return;
    }
    m_selected[&client] = call.argument_or_length;
    client.complete(0, 0);
}

void SerialNumberMemory::write(NodeClient& client, const NodeCall& call)
{
    // The first byte is the address; what follows would be stored, but this part is protected.
    if (call.argument_or_length > 0)
        client.readMemory(call.request_or_address, &m_pointer, sizeof(m_pointer));
    client.complete(long(call.argument_or_length), 0);
}

void SerialNumberMemory::read(NodeClient& client, const NodeCall& call)
{
    QByteArray bytes;
    const auto length_bytes = std::min<unsigned long>(call.argument_or_length, 8192);
    while (quint64(bytes.size()) < length_bytes)
        bytes.append(m_memory.at(m_pointer++)); // after the last byte comes the first one
    client.writeMemory(call.request_or_address, bytes.constData(), size_t(bytes.size()));
    client.complete(long(length_bytes), 0);
}
