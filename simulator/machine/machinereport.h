#pragma once

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QStringList>
#include <QTimer>

class MachineShell;

/// How things stand in the machine, asked through its shell for as long as somebody wants to know.
/// Lives on the bench's thread, owned by the site. Without an answer yet, nothing is there.
class MachineReport : public QObject
{
    Q_OBJECT

public:
    /// The shell must outlive it.
    explicit MachineReport(MachineShell& shell);

    int stationThreads() const;
    bool mounted(const QString& folder) const;
    /// -1 for what is not there.
    qint64 bytesOf(const QString& path) const;
    /// What is known is of a machine that is gone.
    void forget();

private:
    struct State
    {
        int threads = 0;
        QSet<QString> mounts;
        QHash<QString, qint64> file_bytes;
    };
    const State& wanted() const;
    void ask();
    void take(const QStringList& lines);

    MachineShell& m_shell;
    State m_state;
    QTimer m_ask;
    mutable QElapsedTimer m_wanted;
};
