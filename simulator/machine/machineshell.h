#pragma once

#include <QLocalServer>
#include <QObject>
#include <QStringList>
#include <queue>

#include <functional>
#include <memory>
#include <optional>

class QLocalSocket;

/// The shell that runs in the machine: command lines in, their output and exit code back, one at a
/// time, also before the machine is up. Lives on one thread, owned by the machine.
class MachineShell : public QObject
{
    Q_OBJECT

public:
    struct Result
    {
        int exit_code = 0;
        QStringList lines;
    };
    using Done = std::function<void(const Result&)>;

    /// Machines come to this socket, one after the other. Throws BadInput.
    explicit MachineShell(const QString& socket_path);
    MachineShell(const MachineShell&) = delete;
    MachineShell& operator=(const MachineShell&) = delete;
    MachineShell(MachineShell&&) = delete;
    MachineShell& operator=(MachineShell&&) = delete;
    ~MachineShell() override;

    void run(const QString& command, Done done = {});
    /// The command that has not been answered, if any.
    std::optional<QString> underWay() const;
    /// Forgets what has not been answered; for the end of a machine.
    void reset();

signals:
    /// The machine is up and its devices are there.
    void ready();
    /// The program started by "start_station" has ended.
    void stationEnded(int exit_code);

private:
    struct Command
    {
        QString line;
        Done done;
    };

    void accept();
    void readSocket();
    void receive(const QString& line);
    void sendNext();

    QLocalServer m_server;
    std::unique_ptr<QLocalSocket> m_socket;
    std::queue<Command> m_commands; ///< the first one is under way if m_waiting
    QStringList m_lines;            ///< that the command under way has written
    bool m_ready = false;
    bool m_waiting = false;
};
