#pragma once

#include "bench/sandbox.h"
#include "bench/stationlog.h"

#include <QFile>
#include <QObject>
#include <QProcess>

#include <optional>

/// The unmodified station program in its private root. Lives on the bench's thread, owned by the
/// bench; the process dies with it. What it prints goes to the log, a file and (echo) to stderr.
class Station : public QObject
{
    Q_OBJECT

public:
    Station(SandboxSettings settings, const QString& log_path, bool echo);
    Station(const Station&) = delete;
    Station& operator=(const Station&) = delete;
    Station(Station&&) = delete;
    Station& operator=(Station&&) = delete;
    ~Station() override;

    void start();
    /// As a loss of power: no handler of the station runs.
    void kill();
    /// Asks by signal; for a station without a screen that could be touched.
    void terminate();

    bool running() const { return m_process.state() != QProcess::NotRunning; }
    /// Of the last run that ended; 128 + signal when one killed it.
    std::optional<int> exitCode() const { return m_exit_code; }
    const StationLog& log() const { return m_log; }
    /// Worker threads of pods that live now.
    int podThreads() const;
    /// 0 while there is none.
    qint64 stationPid() const;
    /// Whether something is mounted there in the private root.
    bool mounted(const QString& folder) const;

Q_SIGNALS:
    void logged();
    void ended(int exit_code);

private:
    void readOutput();
    void noteEnd(int exit_code, QProcess::ExitStatus status);

    /// In a session of its own: an interrupt typed at the terminal is for the bench alone.
    class Process : public QProcess
    {
    protected:
        void setupChildProcess() override;
    };

    SandboxSettings m_settings;
    Process m_process;
    StationLog m_log;
    QFile m_log_file;
    bool m_echo;
    std::optional<int> m_exit_code;
};
