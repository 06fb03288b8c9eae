#include "machine/machinearguments.h"

#include "bus/usbaddress.h"
#include "common/badinput.h"

namespace {

constexpr int kHubs = 5;

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
QString diskOption(const MachineParts& parts)
{
    if (!parts.write_log_image.isEmpty())
        return QStringLiteral(" disk=recorded");
    return parts.opt_mapped ? QStringLiteral(" disk=mapped") : QString();
}

void addComputer(CommandLine& line, const Computer& computer, const MachineParts& parts)
{
    line.add("machine", computer.machine);
    line.add("cpu", computer.processor);
    line.add("accel", computer.accelerator);
    line.add("smp", QString::number(computer.processors));
    line.add("m", QString::number(computer.memory_mebibytes));
    if (!computer.instruction_clock.isEmpty())
        line.add("icount", computer.instruction_clock);
    if (!computer.plugin.isEmpty())
        line.add("plugin", computer.plugin);
    line.add("kernel", parts.kernel_image);
    line.add("initrd", parts.initramfs);
    const QString station = parts.packages.isEmpty()
                                ? forKernel(QStringLiteral("station"), parts.station_program)
                                : forKernel(QStringLiteral("packages"), parts.packages);
    line.add("append",
             QStringLiteral("console=%1 quiet panic=-1 mitigations=off %2 %3%4")
                 .arg(computer.console, forKernel(QStringLiteral("layers"), layersOf(computer)),
                      station, diskOption(parts)));
}

void addScreen(CommandLine& line, const MachineParts& parts)
{
    line.device(QStringLiteral("virtio-gpu-pci,xres=480,yres=272"));
    line.device(QStringLiteral("virtio-tablet-pci"));
    line.add("display", QStringLiteral("vnc=unix:%1").arg(asValue(parts.screen_socket)));
}

/// It is plugged in later, again and again.
void addStick(CommandLine& line, const MachineParts& parts)
{
    line.add("object", QStringLiteral("throttle-group,id=stick-speed,x-bps-write=%1")
                           .arg(parts.stick_bytes_per_second));
    line.add("blockdev",
             QStringLiteral("driver=raw,node-name=stick-image,file.driver=file,file.filename=%1")
                 .arg(asValue(parts.stick_image)));
    line.add("blockdev",
             QStringLiteral(
                 "driver=throttle,node-name=stick,throttle-group=stick-speed,file=stick-image"));
}

void addDisks(CommandLine& line, const MachineParts& parts)
{
    line.add("fsdev", QStringLiteral(
                          "local,id=host,path=/,security_model=none,readonly=on,multidevs=remap"));
    line.device(QStringLiteral("virtio-9p-pci,fsdev=host,mount_tag=host"));
    line.disk(QStringLiteral("opt"), parts.opt_image);
    if (!parts.write_log_image.isEmpty())
        line.disk(QStringLiteral("log-writes"), parts.write_log_image);
    addStick(line, parts);
}

void addLines(CommandLine& line, const MachineParts& parts)
{
    line.add("chardev", QStringLiteral("file,id=console,path=%1").arg(asValue(parts.console_log)));
    line.add("serial", QStringLiteral("chardev:console"));
    line.device(QStringLiteral("virtio-serial-pci"));
    line.add("chardev", QStringLiteral("file,id=log,path=/dev/stdout"));
    line.device(QStringLiteral("virtserialport,chardev=log,name=log"));
    line.socket(QStringLiteral("shell"), parts.shell_socket);
    line.device(QStringLiteral("virtserialport,chardev=shell,name=shell"));
    line.socket(QStringLiteral("monitor"), parts.monitor_socket);
    line.add("mon", QStringLiteral("chardev=monitor,mode=control"));
}

void addUsb(CommandLine& line, const MachineParts& parts)
{
    line.device(QStringLiteral("qemu-xhci,id=usb,p2=8,p3=8"));
    for (int number = 1; number <= kHubs; ++number)
        line.hub(UsbAddress(UsbAddress::portsOfHub(number), 0).portPath());
    for (int slot = 0; slot < int(parts.pod_sockets.size()); ++slot)
        line.redirected(QStringLiteral("pod%1").arg(slot), parts.pod_sockets.at(std::size_t(slot)),
                        UsbAddress(UsbAddress::portsOfSlot(slot), 0).portPath());
    // Only behind a hub does a redirected device work.
    line.hub(kAdapterHubPort);
    line.redirected(QStringLiteral("adapter"), parts.adapter_socket,
                    kAdapterHubPort + QStringLiteral(".1"));
}

} // namespace

QStringList machineArguments(const Computer& computer, const MachineParts& parts)
{
    CommandLine line;
    addComputer(line, computer, parts);
    addScreen(line, parts);
    addDisks(line, parts);
    addLines(line, parts);
    addUsb(line, parts);
    return line.arguments();
}
