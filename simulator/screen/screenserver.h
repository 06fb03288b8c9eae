#pragma once

#include <QObject>
#include <QTcpServer>

/// Lets a person's viewer on this machine, and on no other, reach the station's private screen.
/// Lives on the bench's thread, owned by it. A viewer that comes before the screen is turned away.
class ScreenServer : public QObject
{
    Q_OBJECT

public:
    explicit ScreenServer(QString screen_socket);

    /// The first free port from 5900 on, or 0 when there is none.
    quint16 listen();

private:
    void bridgeNext();

    QString m_screen_socket;
    QTcpServer m_server;
};
