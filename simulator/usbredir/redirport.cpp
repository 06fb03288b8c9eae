#include "usbredir/redirport.h"

#include "common/badinput.h"

RedirPort::RedirPort(const QString& socket_path)
{
    connect(&m_server, &QLocalServer::newConnection, this, &RedirPort::accept);
    if (!m_server.listen(socket_path))
        throw BadInput(QStringLiteral("%1: %2").arg(socket_path, m_server.errorString()));
}

void RedirPort::plug(UsbFunction function)
{
    Q_ASSERT(!plugged());
    m_function = std::move(function);
    if (m_connection)
        m_connection->plug(*m_function);
}

void RedirPort::unplug()
{
    if (m_connection)
        m_connection->unplug();
    m_function.reset();
}

void RedirPort::accept()
{
    m_connection = std::make_unique<RedirConnection>(m_server.nextPendingConnection());
    connect(m_connection.get(), &RedirConnection::disconnected, this,
            [this, gone = m_connection.get()] {
                if (m_connection.get() == gone)
                    m_connection.release()->deleteLater(); // it is in the middle of telling
            });
    if (m_function)
        m_connection->plug(*m_function);
}
