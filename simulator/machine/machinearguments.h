#pragma once

#include "machine/computer.h"

#include <QString>
#include <QStringList>

#include <array>

/// Where the parts of a machine are.
struct MachineParts
{
    QString kernel_image;
    QString initramfs;
    QString station_program; ///< as the machine finds it
    QString packages; ///< a folder of the host; if any, they are installed under systemd instead
    QString opt_image;
    bool opt_mapped = false; ///< "/opt" is on /dev/mapper/opt instead, by default a linear target
    QString write_log_image; ///< if any, that is one which logs here all that is written
    QString stick_image;
    quint32 stick_bytes_per_second = 0; ///< written to it; 0: no limit
    QString console_log;                ///< what the kernel says
    QString monitor_socket;
    QString shell_socket;
    QString adapter_socket; ///< of the I²C adapter
    std::array<QString, 30> pod_sockets;
    QString screen_socket; ///< for viewers
};

/// The command line of QEMU. The station's log is the process's standard output. Throws BadInput
/// for a path that a machine cannot be told, or would find something else behind.
QStringList machineArguments(const Computer& computer, const MachineParts& parts);
