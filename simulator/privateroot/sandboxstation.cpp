#include "privateroot/sandboxstation.h"

#include "common/companions.h"
#include "privateroot/processtree.h"
#include "site/benchfolder.h"
#include "site/benchsettings.h"
#include "site/site.h"
#include "system/stationpaths.h"

#include <QFileInfo>

#include <csignal>

namespace {
constexpr int kSignalExit = 128;
} // namespace

SandboxStation::SandboxStation(const BenchSettings& settings, const BenchFolder& folder,
                               const QString& testbed, qint64 download_space_bytes)
    : Station(folder.log(), settings.echo_log)
    , m_folder(folder.station())
    , m_disk(folder.disk())
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("BENCH_STATION"), settings.station_program);
    environment.insert(QStringLiteral("BENCH_FOLDER"), folder.path());
    environment.insert(QStringLiteral("BENCH_CONTROL"), folder.control());
    environment.insert(QStringLiteral("BENCH_TESTBED"), testbed);
    if (download_space_bytes > 0)
        environment.insert(QStringLiteral("BENCH_SPACE"), QString::number(download_space_bytes));
    m_process.setProcessEnvironment(environment);
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.setStandardInputFile(QProcess::nullDevice());
    connect(&m_process, &QProcess::readyRead, this, [this] { noteOutput(m_process.readAll()); });
    connect(&m_process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            &SandboxStation::endRun);
    connect(&m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            endRun(kSignalExit - 1, QProcess::NormalExit);
    });
}

SandboxStation::~SandboxStation()
{
    m_process.disconnect(this);
    m_process.kill();
    m_process.waitForFinished();
}

void SandboxStation::start()
{
    noteStart();
    m_process.start(companions::path("tools/private-root"), QStringList());
}

/// By the first process of the private root: its end comes when all others there are gone. One that
/// outlived the run would still hold the station's folder when the next one begins.
void SandboxStation::kill()
{
    const qint64 first = childProcesses(m_process.processId()).value(0);
    if (first <= 0 || ::kill(static_cast<pid_t>(first), SIGKILL) != 0)
        m_process.kill();
}

// As kill, it ends the station that this object is: no business of a const one.
// NOLINTNEXTLINE(readability-make-member-function-const)
void SandboxStation::terminate()
{
    if (const qint64 pid = stationPid(); pid > 0)
        ::kill(static_cast<pid_t>(pid), SIGTERM);
}

void SandboxStation::leaveRoom(qint64 bytes)
{
    if (m_disk == nullptr)
        Station::leaveRoom(bytes);
    else
        m_disk->leaveRoom(bytes);
}

std::optional<int> SandboxStation::podThreads() const
{
    const qint64 pid = stationPid();
    const int plain = static_cast<int>(threadNames(pid).count(QStringLiteral("QThread")));
    return podThreadsOf(plain);
}

std::optional<Holdings> SandboxStation::holdings() const
{
    const qint64 pid = stationPid();
    return pid > 0 ? std::optional(holdingsOf(pid)) : std::nullopt;
}

std::optional<bool> SandboxStation::stickMounted() const
{
    QFile mounts(QStringLiteral("/proc/%1/mounts").arg(stationPid()));
    return mounts.open(QIODevice::ReadOnly) &&
           mounts.readAll().contains(QByteArray(" ") + QFile::encodeName(stationpaths::kUsbKey) +
                                     " ");
}

qint64 SandboxStation::bytesOf(const QString& name) const
{
    const QFileInfo file(m_folder.filePath(name));
    return file.exists() ? file.size() : -1;
}

void SandboxStation::endRun(int exit_code, QProcess::ExitStatus status)
{
    noteOutput(m_process.readAll());
    noteEnd(status == QProcess::NormalExit ? exit_code : kSignalExit + exit_code);
}

/// bwrap watches from outside, its second process is the first of the private root, and the
/// station is that one's first child; the stick's server joins it there.
qint64 SandboxStation::stationPid() const
{
    qint64 pid = m_process.processId();
    for (int generation = 0; generation < 2 && pid > 0; ++generation)
        pid = childProcesses(pid).value(0);
    return pid;
}
