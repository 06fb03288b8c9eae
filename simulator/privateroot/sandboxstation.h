#pragma once

#include "common/dependentprocess.h"
#include "site/station.h"

#include <QDir>

class BenchFolder;
class StationDisk;
struct BenchSettings;

/// The station in a private root of this machine, which the tool private-root makes.
class SandboxStation : public Station
{
    Q_OBJECT

public:
    /// testbed: the folder with the simulated devices.
    SandboxStation(const BenchSettings& settings, const BenchFolder& folder, const QString& testbed,
                   qint64 download_space_bytes);
    Q_DISABLE_COPY_MOVE(SandboxStation)
    ~SandboxStation() override;

    void start() override;
    void kill() override;
    void terminate() override;
    void leaveRoom(qint64 bytes) override;
    bool running() const override { return m_process.state() != QProcess::NotRunning; }
    std::optional<int> podThreads() const override;
    std::optional<bool> stickMounted() const override;
    qint64 bytesOf(const QString& name) const override;
    qint64 stationPid() const override;
    std::optional<Holdings> holdings() const override;

private:
    void endRun(int exit_code, QProcess::ExitStatus status);

    QDir m_folder;             ///< the station's
    const StationDisk* m_disk; ///< null: the computer's
    DependentProcess m_process;
};
