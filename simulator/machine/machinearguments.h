#pragma once

#include "machine/computer.h"

#include <QString>
#include <QStringList>

/// How a machine is made.
struct MachineSettings
{
    Computer computer;
    QString station_program; ///< as the machine finds it
    QString opt_image;       ///< an ext4 file system, which outlives the machine's power
    bool opt_mapped = false; ///< "/opt" is on /dev/mapper/opt instead, by default a linear target
    QString write_log_image; ///< where that one logs all that is written; empty: it does not
    QString stick_image;     ///< must be there when the machine starts
    quint32 stick_bytes_per_second = 0; ///< written to it; 0: no limit
    QString console_log;                ///< what the kernel says
    QString packages; ///< a folder of those to install under systemd; empty: the program as it is
};

/// Names in a machine's own folder: what it starts with, then its sockets.
namespace machinefiles {

inline const QString kInitramfs = QStringLiteral("initramfs");
inline const QString kAdapter = QStringLiteral("adapter"); ///< of the I²C bus
inline const QString kShell = QStringLiteral("shell");
inline const QString kMonitor = QStringLiteral("monitor");
inline const QString kScreen = QStringLiteral("screen"); ///< for viewers

} // namespace machinefiles

/// The command line of QEMU. The station's log is the process's standard output. Throws BadInput
/// for a path that a machine cannot be told, or that leads elsewhere in it.
QStringList machineArguments(const MachineSettings& settings, const QString& kernel_image,
                             const QString& folder);
