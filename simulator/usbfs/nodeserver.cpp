#include "usbfs/nodeserver.h"

#include "usbfs/require.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/timerfd.h>
#include <sys/un.h>

#include <algorithm>
#include <array>

namespace {

UniqueFd listenAt(const QString& path)
{
    QDir().mkpath(QFileInfo(path).path());
    UniqueFd fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, QFile::encodeName(path).constData(), sizeof(address.sun_path));
    const bool listening =
        ::bind(fd.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0 &&
        ::listen(fd.get(), SOMAXCONN) == 0;
    require(listening, path);
    return fd;
}

timespec sinceEpoch(NodeHandler::TimePoint time)
{
    using namespace std::chrono;
    const auto whole = duration_cast<seconds>(time.time_since_epoch());
    const nanoseconds rest = time.time_since_epoch() - whole;
    return {time_t(whole.count()), long(rest.count())};
}

/// Behind the nodes of the real machine that a program in the testbed opens.
class RealNode : public NodeHandler
{
public:
    void handle(NodeClient& client, const NodeCall& /*call*/) override
    {
        client.completeUnhandled();
    }
};

} // namespace

NodeServer::NodeServer(const QString& testbed_dir)
    : m_dir(testbed_dir + QLatin1String("/ioctl/"))
    , m_poller(::epoll_create1(EPOLL_CLOEXEC))
    , m_stop(::eventfd(0, EFD_CLOEXEC))
    , m_timer(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK))
{
    watch(m_stop.get());
    watch(m_timer.get());
    // The preload looks here for a node that has no socket of its own.
    attach(QStringLiteral("_default"), std::make_shared<RealNode>());
    m_thread = std::thread([this] { run(); });
}

NodeServer::~NodeServer()
{
    ::eventfd_write(m_stop.get(), 1);
    m_thread.join();
}

void NodeServer::watch(int fd) const
{
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = fd;
    ::epoll_ctl(m_poller.get(), EPOLL_CTL_ADD, fd, &event);
}

void NodeServer::attach(const QString& node, std::shared_ptr<NodeHandler> handler)
{
    const std::lock_guard lock(m_mutex);
    Listener& listener = m_listeners[node];
    listener.handler = std::move(handler);
    if (listener.socket)
        return;
    listener.socket = listenAt(m_dir + node);
    watch(listener.socket.get());
}

void NodeServer::run()
{
    for (;;) {
        std::array<epoll_event, 64> events{};
        const int count = ::epoll_wait(m_poller.get(), events.data(), int(events.size()), -1);
        for (int at = 0; at < count; ++at) {
            if (events.at(size_t(at)).data.fd == m_stop.get())
                return;
            const std::lock_guard lock(m_mutex);
            serve(events.at(size_t(at)).data.fd);
        }
    }
}

void NodeServer::serve(int fd)
{
    if (fd == m_timer.get())
        return advance();
    const auto connection = m_connections.find(fd);
    if (connection != m_connections.end())
        return serve(connection->second);
    const auto listener =
        std::find_if(m_listeners.begin(), m_listeners.end(),
                     [fd](const auto& entry) { return entry.second.socket.get() == fd; });
    if (listener != m_listeners.end())
        accept(listener->second);
}

void NodeServer::accept(const Listener& listener)
{
    UniqueFd socket(::accept4(listener.socket.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!socket)
        return;
    const int fd = socket.get();
    m_connections.emplace(fd, Connection{NodeClient(std::move(socket)), listener.handler});
    watch(fd);
}

void NodeServer::serve(Connection& connection)
{
    NodeCall call{};
    if (connection.client.receive(call))
        connection.handler->handle(connection.client, call);
    if (connection.client.isBroken()) {
        connection.handler->clientGone(connection.client);
        m_connections.erase(connection.client.socket());
    }
    armTimer();
}

void NodeServer::advance()
{
    const auto now = std::chrono::steady_clock::now();
    for (const auto& [fd, connection] : m_connections)
        connection.handler->advance(now);
    armTimer();
}

void NodeServer::armTimer()
{
    std::optional<NodeHandler::TimePoint> next;
    for (const auto& [fd, connection] : m_connections) {
        if (const auto due = connection.handler->nextDue())
            next = next ? std::min(*next, *due) : *due;
    }
    itimerspec when{};
    if (next)
        when.it_value = sinceEpoch(*next);
    ::timerfd_settime(m_timer.get(), TFD_TIMER_ABSTIME, &when, nullptr);
}
