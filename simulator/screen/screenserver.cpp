#include "screen/screenserver.h"

#include <QLocalSocket>
#include <QTcpSocket>

#include <utility>

namespace {
constexpr quint16 kFirstPort = 5900;
constexpr quint16 kLastPort = 5999;
} // namespace

ScreenServer::ScreenServer(QString screen_socket)
    : m_screen_socket(std::move(screen_socket))
{
    connect(&m_server, &QTcpServer::newConnection, this, &ScreenServer::bridgeNext);
}

quint16 ScreenServer::listen()
{
    for (quint16 port = kFirstPort; port <= kLastPort; ++port)
        if (m_server.listen(QHostAddress::LocalHost, port))
            return port;
    return 0;
}

void ScreenServer::bridgeNext()
{
    QTcpSocket* const viewer = m_server.nextPendingConnection();
    auto* const screen = new QLocalSocket(viewer);
    connect(viewer, &QTcpSocket::readyRead, screen, [=] { screen->write(viewer->readAll()); });
    connect(screen, &QLocalSocket::readyRead, viewer, [=] { viewer->write(screen->readAll()); });
    connect(screen, &QLocalSocket::disconnected, viewer, &QTcpSocket::disconnectFromHost);
    connect(screen, &QLocalSocket::errorOccurred, viewer, &QTcpSocket::disconnectFromHost);
    connect(viewer, &QTcpSocket::disconnected, viewer, &QObject::deleteLater);
    screen->connectToServer(m_screen_socket);
}
