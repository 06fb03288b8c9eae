#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QLocalServer>
#include <QObject>
#include <queue>

#include <functional>
#include <memory>

class QLocalSocket;

/// The machine's monitor: commands of QEMU's QMP in their order, one at a time, also before the
/// machine has come to the socket. Lives on one thread, owned by the machine. A command that the
/// machine refuses is told by refused() and otherwise without effect.
class QmpClient : public QObject
{
    Q_OBJECT

public:
    using Done = std::function<void(const QJsonObject& answer)>;

    /// Machines come to this socket, one after the other. Throws BadInput.
    explicit QmpClient(const QString& socket_path);
    QmpClient(const QmpClient&) = delete;
    QmpClient& operator=(const QmpClient&) = delete;
    QmpClient(QmpClient&&) = delete;
    QmpClient& operator=(QmpClient&&) = delete;
    ~QmpClient() override;

    /// `done` is called on success alone.
    void execute(const QString& command, const QJsonObject& arguments = {}, Done done = {});
    /// Forgets what has not been answered; for the end of a machine.
    void reset();

signals:
    void refused(const QString& command, const QString& reason);
    void happened(const QString& event, const QJsonObject& data);

private:
    struct Command
    {
        QString name;
        QJsonObject arguments;
        Done done;
    };

    void accept();
    void readSocket();
    void receive(const QJsonObject& message);
    void sendNext();

    QLocalServer m_server;
    std::unique_ptr<QLocalSocket> m_socket;
    std::queue<Command> m_commands; ///< the first one is under way if m_waiting
    bool m_ready = false;
    bool m_waiting = false;
};
