#include "machine/virtualmachine.h"

#include "common/badinput.h"
#include "common/companions.h"
#include "common/neededprograms.h"
#include "machine/tool.h"
#include "usbredir/i2cadapter.h"

#include <QFile>

#include <sys/un.h>

namespace {

const QString kInitramfs = QStringLiteral("initramfs");
const QString kAdapter = QStringLiteral("adapter");
const QString kShell = QStringLiteral("shell");
const QString kMonitor = QStringLiteral("monitor");
const QString kScreen = QStringLiteral("screen");

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
    : m_settings(std::move(settings))
    , m_kernel(MachineKernel::installed(m_settings.computer))
    , m_pods(forSockets(m_folder))
    , m_adapter(m_folder.filePath(kAdapter))
    , m_shell(m_folder.filePath(kShell))
    , m_monitor(m_folder.filePath(kMonitor))
    , m_stick_port(m_monitor)
    , m_arguments(machineArguments(m_settings.computer, parts()))
{
    needProgram(m_settings.computer.emulator, m_settings.computer.emulator_package);
    m_adapter.plug(std::make_unique<I2cAdapter>());
    runTool(companions::bootFolder() + QStringLiteral("/make-initramfs"),
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

MachineParts VirtualMachine::parts() const
{
    MachineParts parts;
    parts.kernel_image = m_kernel.image;
    parts.initramfs = m_folder.filePath(kInitramfs);
    parts.packages = m_settings.packages;
    if (!installsStation())
        parts.station_program = m_settings.computer.pathOf(m_settings.station_program);
    parts.opt_image = m_settings.opt_image;
    parts.opt_mapped = m_settings.opt_mapped;
    parts.write_log_image = m_settings.write_log_image;
    parts.stick_image = m_settings.stick_image;
    parts.stick_bytes_per_second = m_settings.stick_bytes_per_second;
    parts.console_log = m_settings.console_log;
    parts.monitor_socket = m_folder.filePath(kMonitor);
    parts.shell_socket = m_folder.filePath(kShell);
    parts.adapter_socket = m_adapter.socketPath();
    for (int slot = 0; slot < PodPorts::kSlotCount; ++slot)
        parts.pod_sockets.at(std::size_t(slot)) = m_pods.socketPath(slot);
    parts.screen_socket = screenSocket();
    return parts;
}
