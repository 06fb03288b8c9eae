#include "machine/virtualmachine.h"

#include "bench/companions.h"
#include "machine/machinearguments.h"
#include "machine/tool.h"
#include "usbredir/i2cadapter.h"

#include <utility>

namespace {

const QString kEmulator = QStringLiteral("qemu-system-x86_64");
const QString kInitramfs = QStringLiteral("initramfs");
/// A place of the stick's own, beside the hubs.
const QString kStickPort = QStringLiteral("2");

} // namespace

VirtualMachine::VirtualMachine(MachineSettings settings)
    : m_settings(std::move(settings))
    , m_kernel(MachineKernel::installed())
    , m_pods(m_folder.path())
    , m_adapter(m_folder.filePath(QStringLiteral("adapter")))
    , m_shell(m_folder.filePath(QStringLiteral("shell")))
    , m_monitor(m_folder.filePath(QStringLiteral("monitor")))
{
    m_adapter.plug(std::make_unique<I2cAdapter>());
    runTool(companions::bootFolder() + QStringLiteral("/make-initramfs"),
            {m_kernel.version, m_folder.filePath(kInitramfs)});
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.setStandardInputFile(QProcess::nullDevice());
    connect(&m_monitor, &QmpClient::refused, this, [](const QString& command, const QString& why) {
        qWarning("The machine's monitor, %s: %s", qUtf8Printable(command), qUtf8Printable(why));
    });
    connect(&m_process, &QProcess::readyReadStandardOutput, this,
            [this] { Q_EMIT output(m_process.readAllStandardOutput()); });
    connect(&m_process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            &VirtualMachine::ended);
    connect(&m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error != QProcess::FailedToStart)
            return;
        qWarning("%s: %s", qUtf8Printable(kEmulator), qUtf8Printable(m_process.errorString()));
        Q_EMIT ended();
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
    if (m_stick_inserted)
        plugStick();
}

void VirtualMachine::cutPower()
{
    m_process.kill();
    m_process.waitForFinished();
}

void VirtualMachine::setStickInserted(bool inserted)
{
    if (std::exchange(m_stick_inserted, inserted) == inserted || !running())
        return;
    if (inserted)
        plugStick();
    else
        m_monitor.execute(QStringLiteral("device_del"),
                          {{QStringLiteral("id"), QStringLiteral("stick")}});
}

void VirtualMachine::plugStick()
{
    m_monitor.execute(QStringLiteral("device_add"),
                      {{QStringLiteral("driver"), QStringLiteral("usb-storage")},
                       {QStringLiteral("id"), QStringLiteral("stick")},
                       {QStringLiteral("drive"), QStringLiteral("stick")},
                       {QStringLiteral("bus"), QStringLiteral("usb.0")},
                       {QStringLiteral("port"), kStickPort}});
}

QStringList VirtualMachine::arguments() const
{
    MachineParts parts;
    parts.kernel_image = m_kernel.image;
    parts.initramfs = m_folder.filePath(kInitramfs);
    parts.station_program = m_settings.station_program;
    parts.packages = m_settings.packages;
    parts.opt_image = m_settings.opt_image;
    parts.stick_image = m_settings.stick_image;
    parts.stick_bytes_per_second = m_settings.stick_bytes_per_second;
    parts.console_log = m_settings.console_log;
    parts.monitor_socket = m_folder.filePath(QStringLiteral("monitor"));
    parts.shell_socket = m_folder.filePath(QStringLiteral("shell"));
    parts.adapter_socket = m_adapter.socketPath();
    for (int slot = 0; slot < PodPorts::kSlotCount; ++slot)
        parts.pod_sockets.at(std::size_t(slot)) = m_pods.socketPath(slot);
    parts.screen_socket = screenSocket();
    return machineArguments(parts);
}
