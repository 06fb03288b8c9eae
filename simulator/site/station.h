#pragma once

#include "site/holdings.h"
#include "site/stationlog.h"

#include <QDateTime>
#include <QFile>
#include <QObject>

#include <algorithm>
#include <optional>

/// The unmodified station program, wherever it runs. Lives on the bench's thread, owned by the
/// site; it dies with it. What it prints goes to the log, a file and (echo) to stderr. Throws
/// BadInput when that file cannot be made.
class Station : public QObject
{
    Q_OBJECT

public:
    Station(const QString& log_path, bool echo);

    virtual void start() = 0;
    /// As a loss of power: no handler of the station runs.
    virtual void kill() = 0;
    /// Asks by signal; for a station without a screen that could be touched.
    virtual void terminate() = 0;

    /// Throws BadInput where the clock is not only the station's.
    virtual void setClock(const QDateTime& time);

    /// On its disk, from now on. Throws BadInput where that is not only the station's.
    virtual void leaveRoom(qint64 bytes);

    virtual bool running() const = 0;
    /// Worker threads of pods that live now; std::nullopt while that is not known.
    virtual std::optional<int> podThreads() const = 0;
    /// Std::nullopt while that is not known.
    virtual std::optional<bool> stickMounted() const = 0;
    /// Of a file below its folder; -1 for what is not there, or not known to be.
    virtual qint64 bytesOf(const QString& name) const = 0;
    /// Of its process here; 0 while there is none, and always when its computer is another one.
    virtual qint64 stationPid() const { return 0; }
    /// Of its process; std::nullopt while there is none, and where it cannot be seen.
    virtual std::optional<Holdings> holdings() const { return std::nullopt; }

    /// Of the last run that ended; 128 + signal when one killed it.
    std::optional<int> exitCode() const { return m_exit_code; }
    const StationLog& log() const { return m_log; }

signals:
    void logged();
    void ended(int exit_code);

protected:
    /// Of so many plain QThreads of the program.
    static int podThreadsOf(int threads) { return std::max(0, threads - kThreadsWithoutPods); }
    void noteStart();
    void noteOutput(const QByteArray& output);
    void noteEnd(int exit_code);

private:
    // The controller's and discovery's; every other plain QThread serves a pod.
    static constexpr int kThreadsWithoutPods = 2;

    StationLog m_log;
    QFile m_log_file;
    bool m_echo;
    std::optional<int> m_exit_code;
};
