#pragma once

#include "common/dependentprocess.h"
#include "privateroot/sandbox.h"
#include "site/station.h"

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
    std::optional<int> podThreads() const override;
    std::optional<bool> mounted(const QString& folder) const override;
    qint64 bytesOf(const QString& name) const override;
    qint64 stationPid() const override;
    std::optional<Holdings> holdings() const override;

private:
    void endRun(int exit_code, QProcess::ExitStatus status);

    SandboxSettings m_settings;
    DependentProcess m_process;
};
