#include "i2c/serialnumbermemory.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <linux/i2c-dev.h>
#include <umockdev.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace {
constexpr int chip_address = 0x51;
constexpr int eui48_at = 0xFA;
constexpr int eui48_bytes = 6;
constexpr const char* selected_address = "selected address";
} // namespace

/// What the chip and its bus do; on the worker thread alone once it is attached.
class SerialNumberMemory::Chip
{
public:
    struct Reply
    {
        long value = 0; ///< of the system call; -1 with an error
        int error = 0;  ///< errno
    };

    explicit Chip(const QByteArray& eui48)
    {
        Q_ASSERT(eui48.size() == eui48_bytes);
        m_memory.fill('\xFF');
        std::copy(eui48.begin(), eui48.end(), m_memory.begin() + eui48_at);
    }

    Reply control(UMockdevIoctlClient* client)
    {
        if (umockdev_ioctl_client_get_request(client) != I2C_SLAVE)
            return {-1, ENOTTY};
        quintptr address = 0;
        std::memcpy(&address, umockdev_ioctl_client_get_arg(client)->data, sizeof(address));
        g_object_set_data(G_OBJECT(client), selected_address, GSIZE_TO_POINTER(address));
        return {};
    }

    Reply write(UMockdevIoctlClient* client)
    {
        if (!isSelected(client))
            return {-1, ENXIO};
        const UMockdevIoctlData* buffer = umockdev_ioctl_client_get_arg(client);
        if (buffer->data_len > 0)
            m_pointer = buffer->data[0];
        return {buffer->data_len, 0};
    }

    Reply read(UMockdevIoctlClient* client)
    {
        if (!isSelected(client))
            return {-1, ENXIO};
        UMockdevIoctlData* buffer = umockdev_ioctl_client_get_arg(client);
        for (int at = 0; at < buffer->data_len; ++at)
            buffer->data[at] = guint8(m_memory.at(m_pointer++)); // runs on from the start again
        return {buffer->data_len, 0};
    }

private:
    static bool isSelected(UMockdevIoctlClient* client)
    {
        gpointer address = g_object_get_data(G_OBJECT(client), selected_address);
        return GPOINTER_TO_SIZE(address) == chip_address;
    }

    std::array<char, 256> m_memory{};
    quint8 m_pointer = 0;
};

namespace {

template <typename Call>
gboolean answer(UMockdevIoctlClient* client, Call call)
{
    const auto reply = call();
    umockdev_ioctl_client_complete(client, reply.value, reply.error);
    return TRUE;
}

} // namespace

SerialNumberMemory::SerialNumberMemory(Testbed& testbed, const QByteArray& eui48)
    : m_chip(std::make_shared<Chip>(eui48)), m_handler(umockdev_ioctl_base_new())
{
    using Target = CallbackTarget<Chip>;
    using Handler = gboolean (*)(UMockdevIoctlBase*, UMockdevIoctlClient*, gpointer);
    const Handler on_ioctl = [](UMockdevIoctlBase*, UMockdevIoctlClient* client, gpointer chip) {
        return answer(client, [=] { return Target::get(chip).control(client); });
    };
    const Handler on_write = [](UMockdevIoctlBase*, UMockdevIoctlClient* client, gpointer chip) {
        return answer(client, [=] { return Target::get(chip).write(client); });
    };
    const Handler on_read = [](UMockdevIoctlBase*, UMockdevIoctlClient* client, gpointer chip) {
        return answer(client, [=] { return Target::get(chip).read(client); });
    };
    connectSignal(m_handler.get(), "handle-ioctl", G_CALLBACK(on_ioctl), m_chip);
    connectSignal(m_handler.get(), "handle-write", G_CALLBACK(on_write), m_chip);
    connectSignal(m_handler.get(), "handle-read", G_CALLBACK(on_read), m_chip);

    const QString node = QStringLiteral("/dev/i2c-3");
    QFile file(testbed.dir() + node);
    const bool made = QDir().mkpath(QFileInfo(file).path()) && file.open(QIODevice::WriteOnly);
    Q_ASSERT(made);
    Q_UNUSED(made)
    testbed.attach(node, m_handler.get());
}

SerialNumberMemory::~SerialNumberMemory() = default;
