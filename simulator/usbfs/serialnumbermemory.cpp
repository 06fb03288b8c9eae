#include "usbfs/serialnumbermemory.h"

#include "usbfs/require.h"
#include "usbfs/testbed.h"

#include <QFile>

#include <linux/i2c-dev.h>

#include <algorithm>
#include <cerrno>

namespace {
constexpr unsigned long kLongestBytes = 8192;
} // namespace

void SerialNumberMemory::install(Testbed& testbed, const QByteArray& eui48)
{
    const QString node = QStringLiteral("/dev/i2c-3");
    QFile file(testbed.dir() + node);
    require(file.open(QIODevice::WriteOnly), file.fileName());
    testbed.nodes().attach(node, std::make_shared<SerialNumberMemory>(eui48));
}

SerialNumberMemory::SerialNumberMemory(const QByteArray& eui48)
    : m_chip(eui48)
{
}

void SerialNumberMemory::handle(NodeClient& client, const NodeCall& call)
{
    if (call.kind == NodeCall::Kind::Ioctl)
        return select(client, call);
    const auto selected = m_selected.find(&client);
    if (selected == m_selected.end() || selected->second != MemoryChip::kAddress) {
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
    QByteArray bytes(int(std::min(call.argument_or_length, kLongestBytes)), '\0');
    if (!bytes.isEmpty())
        client.readMemory(call.request_or_address, bytes.data(), size_t(bytes.size()));
    m_chip.write(bytes);
    client.complete(long(call.argument_or_length), 0);
}

void SerialNumberMemory::read(NodeClient& client, const NodeCall& call)
{
    const QByteArray bytes = m_chip.read(int(std::min(call.argument_or_length, kLongestBytes)));
    client.writeMemory(call.request_or_address, bytes.constData(), size_t(bytes.size()));
    client.complete(bytes.size(), 0);
}
