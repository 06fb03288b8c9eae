#pragma once

#include "system/uniquefd.h"
#include "usbfs/nodehandler.h"

#include <QString>

#include <map>
#include <memory>
#include <mutex>
#include <thread>

/// Serves the programs that run inside the testbed: every call on a simulated device node goes to
/// the handler that is behind the node now. It takes the place of umockdev's own server, which
/// needs 0.6 ms for one USB transfer; thirty pods at full speed leave 0.4 ms.
/// Serves on a thread of its own; attach, detach and locked() are for any other thread. One mutex
/// guards all handlers. A program that dies loses its calls, no other program notices.
class NodeServer
{
public:
    explicit NodeServer(const QString& testbed_dir);
    Q_DISABLE_COPY_MOVE(NodeServer)
    ~NodeServer();

    /// `node` as in "/dev/i2c-3". Replaces the handler before it for programs that open it later.
    void attach(const QString& node, std::shared_ptr<NodeHandler> handler);

    /// Runs the function while no handler runs.
    template <typename Function>
    auto locked(Function function) const
    {
        const std::lock_guard lock(m_mutex);
        return function();
    }

private:
    struct Listener
    {
        UniqueFd socket;
        std::shared_ptr<NodeHandler> handler;
    };
    struct Connection
    {
        NodeClient client;
        std::shared_ptr<NodeHandler> handler;
    };

    void run();
    void serve(int fd);
    void accept(const Listener& listener);
    void serve(Connection& connection);
    void advance();
    void armTimer();
    void watch(int fd) const;

    QString m_dir;
    UniqueFd m_poller;
    UniqueFd m_stop;
    UniqueFd m_timer;
    mutable std::mutex m_mutex; ///< guards what follows, and all handlers
    std::map<QString, Listener> m_listeners;
    std::map<int, Connection> m_connections; ///< by socket
    std::thread m_thread;
};
