#include "machine/virtualmachine.h"

#include "common/badinput.h"
#include "common/companions.h"
#include "common/neededprograms.h"
#include "common/tool.h"
#include "usbredir/i2cadapter.h"

#include <QFile>

#include <sys/un.h>

namespace {

using namespace machinefiles;

MachineSettings asTheMachineSeesThem(MachineSettings settings)
{
    if (settings.packages.isEmpty())
        settings.station_program = settings.computer.pathOf(settings.station_program);
    return settings;
}

/// The folder's path, if sockets can be in it.
QString forSockets(const QTemporaryDir& folder)
{
    if (!folder.isValid())
        throw BadInput(QStringLiteral("no temporary folder: %1").arg(folder.errorString()));
    const int longest_name = qMax(kAdapter.size(), kMonitor.size());
    if (QFile::encodeName(folder.path()).size() + 1 + longest_name >=
        int(sizeof(sockaddr_un::sun_path)))
        throw BadInput(QStringLiteral("%1: sockets cannot have so long a path; set TMPDIR to a "
                                      "shorter one")
                           .arg(folder.path()));
    return folder.path();
}

} // namespace

VirtualMachine::VirtualMachine(MachineSettings settings)
    : m_settings(asTheMachineSeesThem(std::move(settings)))
    , m_kernel(MachineKernel::installed(m_settings.computer))
    , m_pods(forSockets(m_folder))
    , m_adapter(m_folder.filePath(kAdapter))
    , m_shell(m_folder.filePath(kShell))
    , m_monitor(m_folder.filePath(kMonitor))
    , m_stick_port(m_monitor)
    , m_arguments(machineArguments(m_settings, m_kernel.image, m_folder.path()))
{
    needProgram(m_settings.computer.emulator, m_settings.computer.emulator_package);
    m_adapter.plug(I2cAdapter::function());
    runTool(companions::path("boot/make-initramfs"),
            {m_settings.computer.root, m_kernel.version, m_folder.filePath(kInitramfs)});
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.setStandardInputFile(QProcess::nullDevice());
    connect(&m_monitor, &QmpClient::refused, this,
            [this](const QString& command, const QString& why) {
                emit troubled(QStringLiteral("the monitor, %1: %2").arg(command, why));
            });
    connect(&m_process, &QProcess::readyReadStandardOutput, this,
            [this] { emit output(m_process.readAllStandardOutput()); });
    connect(&m_process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            &VirtualMachine::ended);
    connect(&m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error != QProcess::FailedToStart)
            return;
        emit troubled(m_process.program() + QStringLiteral(": ") + m_process.errorString());
        emit ended();
    });
    connect(this, &VirtualMachine::ended, &m_stick_port, &StickPort::powerOff);
}

VirtualMachine::~VirtualMachine()
{
    m_process.disconnect(this);
    cutPower();
}

void VirtualMachine::start()
{
    m_shell.reset();
    m_monitor.reset();
    m_process.start(m_settings.computer.emulator, m_arguments);
    m_stick_port.powerOn();
}

void VirtualMachine::cutPower()
{
    m_process.kill();
    m_process.waitForFinished();
}

QStringList VirtualMachine::lastConsoleLines(int count) const
{
    QFile console(m_settings.console_log);
    if (!console.open(QIODevice::ReadOnly))
        return {};
    QStringList lines;
    for (const QByteArray& line : console.readAll().split('\n'))
        if (!line.trimmed().isEmpty())
            lines += QString::fromUtf8(line.trimmed());
    return lines.mid(qMax(0, lines.size() - count));
}
