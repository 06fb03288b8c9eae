#include "machine/qmpclient.h"

#include "common/badinput.h"

#include <QJsonDocument>
#include <QLocalSocket>

#include <utility>

QmpClient::QmpClient(const QString& socket_path)
{
    connect(&m_server, &QLocalServer::newConnection, this, &QmpClient::accept);
    if (!m_server.listen(socket_path))
        throw BadInput(QStringLiteral("%1: %2").arg(socket_path, m_server.errorString()));
}

QmpClient::~QmpClient() = default;

void QmpClient::execute(const QString& command, const QJsonObject& arguments, Done done)
{
    m_commands.push({command, arguments, std::move(done)});
    sendNext();
}

void QmpClient::reset()
{
    m_commands = {};
    m_ready = false;
    m_waiting = false;
    if (m_socket)
        m_socket.release()->deleteLater();
}

void QmpClient::accept()
{
    m_socket.reset(m_server.nextPendingConnection());
    m_socket->setParent(nullptr);
    connect(m_socket.get(), &QLocalSocket::readyRead, this, &QmpClient::readSocket);
    readSocket();
}

void QmpClient::readSocket()
{
    while (m_socket && m_socket->canReadLine())
        receive(QJsonDocument::fromJson(m_socket->readLine()).object());
}

void QmpClient::receive(const QJsonObject& message)
{
    if (message.contains(QLatin1String("QMP"))) {
        // The one command that it takes before all others.
        m_socket->write("{\"execute\": \"qmp_capabilities\"}\n");
    } else if (!m_ready) {
        m_ready = message.contains(QLatin1String("return"));
        sendNext();
    } else if (message.contains(QLatin1String("event"))) {
        emit happened(message.value(QLatin1String("event")).toString(),
                      message.value(QLatin1String("data")).toObject());
    } else if (m_waiting) {
        const Command command = std::exchange(m_commands.front(), {});
        m_commands.pop();
        m_waiting = false;
        const QJsonObject error = message.value(QLatin1String("error")).toObject();
        if (!error.isEmpty())
            emit refused(command.name, error.value(QLatin1String("desc")).toString());
        else if (command.done)
            command.done(message.value(QLatin1String("return")).toObject());
        sendNext();
    }
}

void QmpClient::sendNext()
{
    if (!m_ready || m_waiting || m_commands.empty())
        return;
    m_waiting = true;
    const QJsonObject message{{QStringLiteral("execute"), m_commands.front().name},
                              {QStringLiteral("arguments"), m_commands.front().arguments}};
    m_socket->write(QJsonDocument(message).toJson(QJsonDocument::Compact) + '\n');
}
