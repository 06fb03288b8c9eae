#pragma once

#include "usbredir/redirconnection.h"

#include <QLocalServer>

#include <memory>
#include <optional>

/// A socket on a machine's USB, one after the other for every machine that comes to it: what is
/// plugged in stays so while machines come and go, as it does when the power is cut. Lives on one
/// thread, whose event loop must run. Throws BadInput when it cannot listen.
class RedirPort : public QObject
{
    Q_OBJECT

public:
    /// Machines come to this socket.
    explicit RedirPort(const QString& socket_path);

    QString socketPath() const { return m_server.fullServerName(); }
    void plug(UsbFunction function);
    /// Nothing happens when nothing is plugged in.
    void unplug();
    bool plugged() const { return m_function.has_value(); }

private:
    void accept();

    QLocalServer m_server;
    std::optional<UsbFunction> m_function;
    std::unique_ptr<RedirConnection> m_connection;
};
