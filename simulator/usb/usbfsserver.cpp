#include "usb/usbfsserver.h"

#include <umockdev.h>

#include <cerrno>
#include <chrono>

namespace {

using Target = CallbackTarget<UsbfsServer>;

void onClientConnected(UMockdevIoctlBase* /*handler*/, UMockdevIoctlClient* client, gpointer server)
{
    Target::get(server).clientConnected(client);
}

void onClientGone(UMockdevIoctlClient* client, GParamSpec* /*property*/, gpointer server)
{
    Target::get(server).clientGone(client);
}

gboolean onIoctl(UMockdevIoctlBase* /*handler*/, UMockdevIoctlClient* client, gpointer server)
{
    Target::get(server).serve(client);
    return TRUE;
}

gboolean onTime(gpointer server)
{
    Target::get(server).timeHasCome();
    return G_SOURCE_CONTINUE;
}

gboolean dispatchTimer(GSource* /*timer*/, GSourceFunc callback, gpointer server)
{
    return callback(server);
}

GSourceFuncs timer_functions{nullptr, nullptr, dispatchTimer, nullptr, nullptr, nullptr};

constexpr gint64 never = -1;

} // namespace

void GSourceEnd::operator()(GSource* source) const
{
    g_source_destroy(source);
    g_source_unref(source);
}

UsbfsServer::UsbfsServer(Testbed& testbed)
    : m_testbed(testbed), m_handler(umockdev_ioctl_base_new())
{}

void UsbfsServer::start()
{
    connectSignal(m_handler.get(), "client-connected", G_CALLBACK(onClientConnected),
                  shared_from_this());
    connectSignal(m_handler.get(), "handle-ioctl", G_CALLBACK(onIoctl), shared_from_this());
}

void UsbfsServer::stop()
{
    g_signal_handlers_disconnect_matched(m_handler.get(), G_SIGNAL_MATCH_FUNC, 0, 0, nullptr,
                                         reinterpret_cast<gpointer>(onClientConnected), nullptr);
    const std::lock_guard lock(m_mutex);
    m_stopped = true;
    m_timer.reset();
    for (const auto& [name, device] : m_devices)
        device->disconnect();
    m_devices.clear();
}

void UsbfsServer::connectDevice(const QString& node_name, std::shared_ptr<UsbDevice> device)
{
    locked([&] { m_devices.emplace(node_name, std::move(device)); });
    // A node's socket stays for the next device of this number: a host that is just opening the
    // node of a device that leaves ends its whole process when it finds the socket closed.
    if (m_attached_nodes.insert(node_name).second)
        m_testbed.attach(QStringLiteral("/dev/") + node_name, m_handler.get());
}

void UsbfsServer::disconnectDevice(const QString& node_name)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_devices.find(node_name);
    if (found == m_devices.end())
        return;
    found->second->disconnect();
    m_devices.erase(found);
}

void UsbfsServer::clientConnected(UMockdevIoctlClient* client)
{
    connectSignal(client, "notify::connected", G_CALLBACK(onClientGone), shared_from_this());
    const QString node = QString::fromUtf8(umockdev_ioctl_client_get_devnode(client));
    const std::lock_guard lock(m_mutex);
    const auto found = m_devices.find(node.mid(int(qstrlen("/dev/"))));
    if (found != m_devices.end())
        m_clients.emplace(client, found->second);
    if (!m_timer && !m_stopped)
        makeTimer();
}

void UsbfsServer::makeTimer()
{
    m_timer.reset(g_source_new(&timer_functions, sizeof(GSource)));
    g_source_set_callback(m_timer.get(), onTime, Target::keep(shared_from_this()),
                          Target::release);
    g_source_attach(m_timer.get(), g_main_context_get_thread_default());
}

void UsbfsServer::clientGone(UMockdevIoctlClient* client)
{
    const std::lock_guard lock(m_mutex);
    const auto device = deviceOf(client);
    if (!device)
        return;
    device->clientGone(client);
    m_clients.erase(client);
    device->advance(std::chrono::steady_clock::now());
}

std::shared_ptr<UsbDevice> UsbfsServer::deviceOf(const UMockdevIoctlClient* client) const
{
    const auto found = m_clients.find(client);
    return found == m_clients.end() ? nullptr : found->second;
}

void UsbfsServer::serve(UMockdevIoctlClient* client)
{
    UsbDevice::Reply reply{-1, ENODEV};
    const auto device = locked([&] {
        auto found = deviceOf(client);
        if (found)
            reply = found->handle(umockdev_ioctl_client_get_request(client), client,
                                  umockdev_ioctl_client_get_arg(client));
        return found;
    });
    // Before anything moves: this sends what changed since the call came, and a transfer's data
    // shall go over once, when it is reaped.
    umockdev_ioctl_client_complete(client, reply.value, reply.error);
    if (!device)
        return;
    const std::lock_guard lock(m_mutex);
    device->advance(std::chrono::steady_clock::now());
    armTimer();
}

void UsbfsServer::timeHasCome()
{
    const std::lock_guard lock(m_mutex);
    const auto now = std::chrono::steady_clock::now();
    for (const auto& [name, device] : m_devices)
        device->advance(now);
    armTimer();
}

void UsbfsServer::armTimer()
{
    std::optional<Pacer::TimePoint> next;
    for (const auto& [name, device] : m_devices) {
        const auto due = device->nextDue();
        if (due)
            next = next ? std::min(*next, *due) : due;
    }
    if (!m_timer)
        return;
    // Both clocks are the kernel's monotonic one.
    using Microseconds = std::chrono::duration<gint64, std::micro>;
    g_source_set_ready_time(
        m_timer.get(),
        next ? std::chrono::ceil<Microseconds>(next->time_since_epoch()).count() : never);
}
