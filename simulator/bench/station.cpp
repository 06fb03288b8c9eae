#include "bench/station.h"

#include "bench/badinput.h"
#include "bench/processtree.h"

#include <QTextStream>

#include <csignal>
#include <unistd.h>
#include <utility>

namespace {
constexpr int kSignalExit = 128;
// The controller's and discovery's; every other plain QThread of the station serves a pod.
constexpr int kThreadsWithoutPods = 2;
} // namespace

void Station::Process::setupChildProcess()
{
    ::setsid();
}

Station::Station(SandboxSettings settings, const QString& log_path, bool echo)
    : m_settings(std::move(settings))
    , m_log_file(log_path)
    , m_echo(echo)
{
    if (!m_log_file.open(QIODevice::WriteOnly))
        throw BadInput(
            QStringLiteral("cannot write %1: %2").arg(log_path, m_log_file.errorString()));
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.setStandardInputFile(QProcess::nullDevice());
    connect(&m_process, &QProcess::readyRead, this, &Station::readOutput);
    connect(&m_process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            &Station::noteEnd);
    connect(&m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            noteEnd(kSignalExit - 1, QProcess::NormalExit);
    });
}

Station::~Station()
{
    m_process.disconnect(this);
    m_process.kill();
    m_process.waitForFinished();
}

void Station::start()
{
    m_exit_code.reset();
    m_process.start(QStringLiteral("bwrap"), sandboxArguments(m_settings));
}

void Station::kill()
{
    m_process.kill();
}

// As kill, it ends the station that this object is: no business of a const one.
// NOLINTNEXTLINE(readability-make-member-function-const)
void Station::terminate()
{
    if (const qint64 pid = stationPid(); pid > 0)
        ::kill(static_cast<pid_t>(pid), SIGTERM);
}

int Station::podThreads() const
{
    const qint64 pid = stationPid();
    const int plain = static_cast<int>(threadNames(pid).count(QStringLiteral("QThread")));
    return pid > 0 ? qMax(0, plain - kThreadsWithoutPods) : 0;
}

bool Station::mounted(const QString& folder) const
{
    QFile mounts(QStringLiteral("/proc/%1/mounts").arg(stationPid()));
    return mounts.open(QIODevice::ReadOnly) &&
           mounts.readAll().contains(QByteArray(" ") + QFile::encodeName(folder) + " ");
}

void Station::readOutput()
{
    const QByteArray output = m_process.readAll();
    m_log_file.write(output);
    m_log_file.flush();
    if (m_echo)
        QTextStream(stderr) << output;
    if (!m_log.append(output).isEmpty())
        Q_EMIT logged();
}

void Station::noteEnd(int exit_code, QProcess::ExitStatus status)
{
    readOutput();
    m_exit_code = status == QProcess::NormalExit ? exit_code : kSignalExit + exit_code;
    Q_EMIT ended(*m_exit_code);
}

/// bwrap watches from outside, its second process is the first of the private root, and the
/// station is that one's first child; the stick's server joins it there.
qint64 Station::stationPid() const
{
    qint64 pid = m_process.processId();
    for (int generation = 0; generation < 2 && pid > 0; ++generation)
        pid = childProcesses(pid).value(0);
    return pid;
}
