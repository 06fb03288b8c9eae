#pragma once

#include <QByteArray>
#include <QLocalServer>
#include <QLocalSocket>
#include <QObject>
#include <queue>

#include <functional>
#include <memory>

/// A socket to which machines come, one after the other, and over which a machine is given
/// commands, a line each and one at a time, also before it has come. Lives on one thread.
class MachineLine : public QObject
{
    Q_OBJECT

public:
    /// Throws BadInput when it cannot listen.
    explicit MachineLine(const QString& socket_path);

    /// Forgets what has not been answered; for the end of a machine.
    virtual void reset();

protected:
    /// The machine has said this, without the end of the line.
    virtual void hear(const QByteArray& line) = 0;

    using Answered = std::function<void(const QByteArray& answer)>;
    void command(const QByteArray& line, Answered answered);
    /// The machine takes commands now.
    void setReady();
    bool ready() const { return m_ready; }
    bool waiting() const { return m_waiting; }
    QByteArray underWay() const { return m_waiting ? m_commands.front().line : QByteArray(); }
    /// The command under way is answered; the next one follows.
    void answer(const QByteArray& answer);
    /// At once, whatever is under way.
    void say(const QByteArray& line) { m_socket->write(line + '\n'); }

private:
    struct Command
    {
        QByteArray line;
        Answered answered;
    };

    void accept();
    void readSocket();
    void sendNext();

    QLocalServer m_server;
    std::unique_ptr<QLocalSocket> m_socket;
    std::queue<Command> m_commands; ///< the first one is under way if m_waiting
    bool m_ready = false;
    bool m_waiting = false;
};
