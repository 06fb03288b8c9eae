#pragma once

#include <QHash>
#include <QObject>
#include <QSet>
#include <QStringList>
#include <QTimer>

#include <optional>

class MachineShell;

/// How things stand in the machine, asked through its shell for as long as somebody wants to know.
/// Lives on the bench's thread, owned by the site. Every answer is std::nullopt until the machine
/// has given its first one.
class MachineReport : public QObject
{
    Q_OBJECT

public:
    /// The shell must outlive it.
    explicit MachineReport(MachineShell& shell);

    std::optional<int> stationThreads() const;
    std::optional<bool> mounted(const QString& folder) const;
    /// -1 for what is not there.
    std::optional<qint64> bytesOf(const QString& path) const;
    /// For the end of a machine: of the next one nothing is known.
    void forget();

private:
    struct State
    {
        int threads;
        QSet<QString> mounts;
        QHash<QString, qint64> file_bytes;
    };
    const std::optional<State>& wanted() const;
    void askIfWanted();
    void take(const QStringList& lines);

    MachineShell& m_shell;
    std::optional<State> m_state;
    QTimer m_next_question;
    mutable bool m_wanted = false; ///< since the last question
};
