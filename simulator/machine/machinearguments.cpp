#include "machine/machinearguments.h"

#include "bus/usbaddress.h"
#include "common/badinput.h"
#include "usbredir/podports.h"

#include <QDir>

namespace {

/// Beside the station's hubs, which hang on the port that they have in the simulated bus too.
const QString kAdapterHubPort = QStringLiteral("1");

/// A comma ends a value, and two are one that belongs to it.
QString asValue(QString path)
{
    return path.replace(QLatin1Char(','), QStringLiteral(",,"));
}

/// For the kernel, which hands it to the machine's first program. It knows quotes, but none in
/// them.
QString forKernel(const QString& name, const QString& path)
{
    if (path.contains(QLatin1Char('"')))
        throw BadInput(QStringLiteral("%1: a machine cannot be told a path with quotes").arg(path));
    return QStringLiteral("%1=\"%2\"").arg(name, path);
}

/// The folders of the host that lie over each other as the machine's root, the uppermost first, as
/// its first program mounts them.
QString layersOf(const Computer& computer)
{
    QStringList layers;
    for (const QString& folder : {computer.program_folder, computer.root}) {
        if (folder.contains(QLatin1Char(':')) || folder.contains(QLatin1Char(',')))
            throw BadInput(QStringLiteral("%1: a machine's root has no such name").arg(folder));
        if (!folder.isEmpty())
            layers += QStringLiteral("/host") + folder;
    }
    return layers.join(QLatin1Char(':'));
}

class CommandLine
{
public:
    void add(const char* option, const QString& value)
    {
        m_arguments += {QLatin1Char('-') + QLatin1String(option), value};
    }
    void device(const QString& value) { add("device", value); }
    /// The machine comes to the socket when it starts.
    void socket(const QString& id, const QString& path)
    {
        add("chardev", QStringLiteral("socket,id=%1,path=%2").arg(id, asValue(path)));
    }
    /// In the order in which the kernel is to name them.
    void disk(const QString& id, const QString& image)
    {
        add("drive", QStringLiteral("if=none,id=%1,format=raw,file=%2").arg(id, asValue(image)));
        device(QStringLiteral("virtio-blk-pci,drive=%1").arg(id));
    }
    void hub(const QString& port) { device(QStringLiteral("usb-hub,bus=usb.0,port=%1").arg(port)); }
    void redirected(const QString& id, const QString& path, const QString& port)
    {
        socket(id, path);
        device(QStringLiteral("usb-redir,chardev=%1,bus=usb.0,port=%2").arg(id, port));
    }

    QStringList arguments() const { return m_arguments; }

private:
    /// Nothing but what is named here, and a switched-off machine instead of a restarted one.
    QStringList m_arguments{QStringLiteral("-nodefaults"), QStringLiteral("-no-user-config"),
                            QStringLiteral("-no-reboot")};
};

/// For start-station.
QString diskOption(const MachineSettings& settings)
{
    if (!settings.write_log_image.isEmpty())
        return QStringLiteral(" disk=recorded");
    return settings.opt_mapped ? QStringLiteral(" disk=mapped") : QString();
}

void addComputer(CommandLine& line, const MachineSettings& settings)
{
    const Computer& computer = settings.computer;
    line.add("machine", computer.machine);
    line.add("cpu", computer.processor);
    line.add("accel", computer.accelerator);
    line.add("smp", QString::number(computer.processors));
    line.add("m", QString::number(computer.memory_mebibytes));
    if (!computer.instruction_clock.isEmpty())
        line.add("icount", computer.instruction_clock);
    if (!computer.plugin.isEmpty())
        line.add("plugin", computer.plugin);
    const QString station = settings.packages.isEmpty()
                                ? forKernel(QStringLiteral("station"), settings.station_program)
                                : forKernel(QStringLiteral("packages"), settings.packages);
    line.add("append", QStringLiteral("console=%1 %2 quiet panic=-1 mitigations=off %3 %4%5")
                           .arg(computer.console, computer.kernel_options,
                                forKernel(QStringLiteral("layers"), layersOf(computer)), station,
                                diskOption(settings)));
}

void addScreen(CommandLine& line, const QDir& folder)
{
    line.device(QStringLiteral("virtio-gpu-pci,xres=480,yres=272"));
    line.device(QStringLiteral("virtio-tablet-pci"));
    line.add("display",
             QStringLiteral("vnc=unix:%1").arg(asValue(folder.filePath(machinefiles::kScreen))));
}

/// It is plugged in later, again and again.
void addStick(CommandLine& line, const MachineSettings& settings)
{
    line.add("object", QStringLiteral("throttle-group,id=stick-speed,x-bps-write=%1")
                           .arg(settings.stick_bytes_per_second));
    line.add("blockdev",
             QStringLiteral("driver=raw,node-name=stick-image,file.driver=file,file.filename=%1")
                 .arg(asValue(settings.stick_image)));
    line.add("blockdev",
             QStringLiteral(
                 "driver=throttle,node-name=stick,throttle-group=stick-speed,file=stick-image"));
}

void addDisks(CommandLine& line, const MachineSettings& settings)
{
    line.add("fsdev", QStringLiteral(
                          "local,id=host,path=/,security_model=none,readonly=on,multidevs=remap"));
    line.device(QStringLiteral("virtio-9p-pci,fsdev=host,mount_tag=host"));
    line.disk(QStringLiteral("opt"), settings.opt_image);
    if (!settings.write_log_image.isEmpty())
        line.disk(QStringLiteral("log-writes"), settings.write_log_image);
    addStick(line, settings);
}

void addLines(CommandLine& line, const MachineSettings& settings, const QDir& folder)
{
    line.add("chardev",
             QStringLiteral("file,id=console,path=%1").arg(asValue(settings.console_log)));
    line.add("serial", QStringLiteral("chardev:console"));
    line.device(QStringLiteral("virtio-serial-pci"));
    line.add("chardev", QStringLiteral("file,id=log,path=/dev/stdout"));
    line.device(QStringLiteral("virtserialport,chardev=log,name=log"));
    line.socket(machinefiles::kShell, folder.filePath(machinefiles::kShell));
    line.device(QStringLiteral("virtserialport,chardev=shell,name=shell"));
    line.socket(machinefiles::kMonitor, folder.filePath(machinefiles::kMonitor));
    line.add("mon", QStringLiteral("chardev=monitor,mode=control"));
}

void addUsb(CommandLine& line, const QDir& folder)
{
    line.device(QStringLiteral("qemu-xhci,id=usb,p2=8,p3=8"));
    for (int number = 1; number <= UsbAddress::kHubs; ++number)
        line.hub(UsbAddress(UsbAddress::portsOfHub(number), 0).portPath());
    for (int slot = 0; slot < kSlotCount; ++slot)
        line.redirected(PodPorts::socketName(slot), folder.filePath(PodPorts::socketName(slot)),
                        UsbAddress(UsbAddress::portsOfSlot(slot), 0).portPath());
    // Only behind a hub does a redirected device work.
    line.hub(kAdapterHubPort);
    line.redirected(machinefiles::kAdapter, folder.filePath(machinefiles::kAdapter),
                    kAdapterHubPort + QStringLiteral(".1"));
}

} // namespace

QStringList machineArguments(const MachineSettings& settings, const QString& kernel_image,
                             const QString& folder)
{
    CommandLine line;
    line.add("kernel", kernel_image);
    line.add("initrd", QDir(folder).filePath(machinefiles::kInitramfs));
    addComputer(line, settings);
    addScreen(line, folder);
    addDisks(line, settings);
    addLines(line, settings, folder);
    addUsb(line, folder);
    return line.arguments();
}
