#include "machine/machineline.h"

#include "common/badinput.h"

#include <utility>

MachineLine::MachineLine(const QString& socket_path)
{
    connect(&m_server, &QLocalServer::newConnection, this, &MachineLine::accept);
    if (!m_server.listen(socket_path))
        throw BadInput(QStringLiteral("%1: %2").arg(socket_path, m_server.errorString()));
}

void MachineLine::reset()
{
    m_commands = {};
    m_ready = false;
    m_waiting = false;
    if (m_socket)
        m_socket.release()->deleteLater();
}

void MachineLine::accept()
{
    m_socket.reset(m_server.nextPendingConnection());
    m_socket->setParent(nullptr);
    connect(m_socket.get(), &QLocalSocket::readyRead, this, &MachineLine::readSocket);
    readSocket();
}

void MachineLine::readSocket()
{
    while (m_socket && m_socket->canReadLine())
        hear(m_socket->readLine().chopped(1));
}

void MachineLine::command(const QByteArray& line, Answered answered)
{
    m_commands.push({line, std::move(answered)});
    sendNext();
}

void MachineLine::setReady()
{
    m_ready = true;
    sendNext();
}

void MachineLine::answer(const QByteArray& answer)
{
    const Command command = std::exchange(m_commands.front(), {});
    m_commands.pop();
    m_waiting = false;
    command.answered(answer);
    sendNext();
}

void MachineLine::sendNext()
{
    if (!m_ready || m_waiting || m_commands.empty())
        return;
    m_waiting = true;
    say(m_commands.front().line);
}
