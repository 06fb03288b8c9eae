#include "machine/machinearguments.h"

#include "usb/usbaddress.h"

namespace {

constexpr int kHubs = 5;

/// The station's hubs hang on the port that is simulated elsewhere too; these are beside it.
const QString kAdapterHubPort = QStringLiteral("1");

QStringList socketDevice(const QString& id, const QString& socket, const QString& device)
{
    return {QStringLiteral("-chardev"), QStringLiteral("socket,id=%1,path=%2").arg(id, socket),
            QStringLiteral("-device"), device};
}

QStringList redirected(const QString& id, const QString& socket, const QString& port)
{
    return socketDevice(id, socket,
                        QStringLiteral("usb-redir,chardev=%1,bus=usb.0,port=%2").arg(id, port));
}

QStringList hub(const QString& port)
{
    return {QStringLiteral("-device"), QStringLiteral("usb-hub,bus=usb.0,port=%1").arg(port)};
}

QStringList usb(const MachineParts& parts)
{
    QStringList list{QStringLiteral("-device"), QStringLiteral("qemu-xhci,id=usb,p2=8,p3=8")};
    for (int number = 1; number <= kHubs; ++number)
        list += hub(UsbAddress(UsbAddress::portsOfHub(number), 0).portPath());
    for (std::size_t slot = 0; slot < parts.pod_sockets.size(); ++slot)
        list += redirected(QStringLiteral("pod%1").arg(slot), parts.pod_sockets.at(slot),
                           UsbAddress(UsbAddress::portsOfSlot(int(slot)), 0).portPath());
    // A redirected device works behind a hub alone.
    list += hub(kAdapterHubPort);
    list += redirected(QStringLiteral("adapter"), parts.adapter_socket,
                       kAdapterHubPort + QStringLiteral(".1"));
    return list;
}

QStringList disks(const MachineParts& parts)
{
    return {QStringLiteral("-fsdev"),
            QStringLiteral("local,id=host,path=/,security_model=none,readonly=on,multidevs=remap"),
            QStringLiteral("-device"),
            QStringLiteral("virtio-9p-pci,fsdev=host,mount_tag=host"),
            QStringLiteral("-drive"),
            QStringLiteral("if=none,id=opt,format=raw,file=%1").arg(parts.opt_image),
            QStringLiteral("-device"),
            QStringLiteral("virtio-blk-pci,drive=opt")};
}

QStringList lines(const MachineParts& parts)
{
    QStringList list{QStringLiteral("-chardev"),
                     QStringLiteral("file,id=console,path=%1").arg(parts.console_log),
                     QStringLiteral("-device"),
                     QStringLiteral("isa-serial,chardev=console"),
                     QStringLiteral("-device"),
                     QStringLiteral("virtio-serial-pci"),
                     QStringLiteral("-chardev"),
                     QStringLiteral("file,id=log,path=/dev/stdout"),
                     QStringLiteral("-device"),
                     QStringLiteral("virtserialport,chardev=log,name=log")};
    list += socketDevice(QStringLiteral("shell"), parts.shell_socket,
                         QStringLiteral("virtserialport,chardev=shell,name=shell"));
    list +=
        {QStringLiteral("-chardev"), QStringLiteral("socket,id=qmp,path=%1").arg(parts.qmp_socket),
         QStringLiteral("-mon"), QStringLiteral("chardev=qmp,mode=control")};
    return list;
}

} // namespace

QStringList machineArguments(const MachineParts& parts)
{
    QStringList list{
        QStringLiteral("-nodefaults"),
        QStringLiteral("-no-user-config"),
        QStringLiteral("-machine"),
        QStringLiteral("q35"),
        QStringLiteral("-accel"),
        QStringLiteral("tcg,thread=multi"),
        QStringLiteral("-smp"),
        QStringLiteral("2"),
        QStringLiteral("-m"),
        QStringLiteral("1024"),
        QStringLiteral("-display"),
        parts.display,
        QStringLiteral("-kernel"),
        parts.kernel_image,
        QStringLiteral("-initrd"),
        parts.initramfs,
        QStringLiteral("-append"),
        QStringLiteral("console=ttyS0 quiet panic=-1 mitigations=off station=%1")
            .arg(parts.station_program),
        QStringLiteral("-no-reboot"),
        QStringLiteral("-device"),
        QStringLiteral("virtio-gpu-pci,xres=480,yres=272"),
        QStringLiteral("-device"),
        QStringLiteral("virtio-tablet-pci"),
    };
    return list + disks(parts) + lines(parts) + usb(parts);
}
