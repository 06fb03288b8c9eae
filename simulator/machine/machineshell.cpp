#include "machine/machineshell.h"

#include "common/badinput.h"

#include <QLocalSocket>

#include <utility>

namespace {

// What the machine's first program says beside the output of commands.
const QString kReady = QStringLiteral("@ready");
const QString kDone = QStringLiteral("@done ");
const QString kStationEnded = QStringLiteral("@station ended ");

} // namespace

MachineShell::MachineShell(const QString& socket_path)
{
    connect(&m_server, &QLocalServer::newConnection, this, &MachineShell::accept);
    if (!m_server.listen(socket_path))
        throw BadInput(QStringLiteral("%1: %2").arg(socket_path, m_server.errorString()));
}

MachineShell::~MachineShell() = default;

void MachineShell::run(const QString& command, Done done)
{
    m_commands.push({command, std::move(done)});
    sendNext();
}

std::optional<QString> MachineShell::underWay() const
{
    return m_waiting ? std::optional(m_commands.front().line) : std::nullopt;
}

void MachineShell::reset()
{
    m_commands = {};
    m_lines.clear();
    m_ready = false;
    m_waiting = false;
    if (m_socket)
        m_socket.release()->deleteLater();
}

void MachineShell::accept()
{
    m_socket.reset(m_server.nextPendingConnection());
    m_socket->setParent(nullptr);
    connect(m_socket.get(), &QLocalSocket::readyRead, this, &MachineShell::readSocket);
    readSocket();
}

void MachineShell::readSocket()
{
    while (m_socket && m_socket->canReadLine())
        receive(QString::fromUtf8(m_socket->readLine()).chopped(1));
}

void MachineShell::receive(const QString& line)
{
    if (line == kReady) {
        m_ready = true;
        emit ready();
        sendNext();
    } else if (line.startsWith(kStationEnded)) {
        emit stationEnded(line.mid(kStationEnded.size()).toInt());
    } else if (line.startsWith(kDone) && m_waiting) {
        const Command command = std::exchange(m_commands.front(), {});
        m_commands.pop();
        m_waiting = false;
        const Result result{line.mid(kDone.size()).toInt(), std::exchange(m_lines, {})};
        if (command.done)
            command.done(result);
        sendNext();
    } else {
        m_lines += line;
    }
}

void MachineShell::sendNext()
{
    if (!m_ready || m_waiting || m_commands.empty())
        return;
    m_waiting = true;
    m_socket->write(m_commands.front().line.toUtf8() + '\n');
}
