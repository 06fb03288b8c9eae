#pragma once

#include "bench/sandbox.h"
#include "bench/station.h"

#include <QProcess>

/// The station in a private root of this machine.
class SandboxStation : public Station
{
    Q_OBJECT

public:
    SandboxStation(SandboxSettings settings, const QString& log_path, bool echo);
    SandboxStation(const SandboxStation&) = delete;
    SandboxStation& operator=(const SandboxStation&) = delete;
    SandboxStation(SandboxStation&&) = delete;
    SandboxStation& operator=(SandboxStation&&) = delete;
    ~SandboxStation() override;

    void start() override;
    void kill() override;
    void terminate() override;
    bool running() const override { return m_process.state() != QProcess::NotRunning; }
    int podThreads() const override;
    bool mounted(const QString& folder) const override;
    qint64 bytesOf(const QString& name) const override;
    qint64 stationPid() const override;

private:
    void endRun(int exit_code, QProcess::ExitStatus status);

    /// In a session of its own: an interrupt typed at the terminal is for the bench alone.
    class Process : public QProcess
    {
    protected:
        void setupChildProcess() override;
    };

    SandboxSettings m_settings;
    Process m_process;
};
