#include "machine/virtualmachine.h"

#include "machine/machinearguments.h"
#include "machine/machinekernel.h"
#include "usbredir/i2cadapter.h"

#include <stdexcept>

namespace {

const QString kEmulator = QStringLiteral("qemu-system-x86_64");

} // namespace

VirtualMachine::VirtualMachine(MachineSettings settings)
    : m_settings(std::move(settings))
    , m_pods(m_folder.path())
    , m_adapter(m_folder.filePath(QStringLiteral("adapter")))
    , m_shell(m_folder.filePath(QStringLiteral("shell")))
    , m_monitor(m_folder.filePath(QStringLiteral("monitor")))
{
    m_adapter.plug(std::make_unique<I2cAdapter>());
    m_process.setStandardInputFile(QProcess::nullDevice());
    connect(&m_process, &QProcess::readyReadStandardOutput, this,
            [this] { Q_EMIT output(m_process.readAllStandardOutput()); });
    connect(&m_process, &QProcess::readyReadStandardError, this, [this] {
        Q_EMIT failed(QString::fromUtf8(m_process.readAllStandardError().trimmed()));
    });
    connect(&m_process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            &VirtualMachine::ended);
    connect(&m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            Q_EMIT failed(m_process.errorString());
    });
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
    m_process.start(kEmulator, arguments());
}

void VirtualMachine::cutPower()
{
    m_process.kill();
    m_process.waitForFinished();
}

QString VirtualMachine::makeInitramfs(const QString& kernel_version) const
{
    const QString image = m_folder.filePath(QStringLiteral("initramfs"));
    QProcess maker;
    maker.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    maker.start(QStringLiteral(CORVANE_BOOT_FOLDER "/make-initramfs"), {kernel_version, image});
    if (!maker.waitForFinished() || maker.exitCode() != 0)
        throw std::runtime_error("the machine's initramfs cannot be made");
    return image;
}

QStringList VirtualMachine::arguments() const
{
    const MachineKernel kernel = MachineKernel::installed();
    MachineParts parts;
    parts.kernel_image = kernel.image;
    parts.initramfs = makeInitramfs(kernel.version);
    parts.station_program = m_settings.station_program;
    parts.opt_image = m_settings.opt_image;
    parts.console_log = consoleLog();
    parts.qmp_socket = m_folder.filePath(QStringLiteral("monitor"));
    parts.shell_socket = m_folder.filePath(QStringLiteral("shell"));
    parts.adapter_socket = m_adapter.socketPath();
    for (int slot = 0; slot < PodPorts::kSlotCount; ++slot)
        parts.pod_sockets.at(std::size_t(slot)) = m_pods.socketPath(slot);
    parts.display = m_settings.display;
    return machineArguments(parts);
}
