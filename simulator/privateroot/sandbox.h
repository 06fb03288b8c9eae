#pragma once

#include <QString>
#include <QStringList>

/// What the private root is made of.
struct SandboxSettings
{
    QString station_program;
    QString station_folder;  ///< "/opt/Corvane"
    QString launcher_folder; ///< "/opt/CorvaneLauncher"
    QString stick_folder;    ///< what is on the stick that the bench's `mount` attaches
    QString stick_program;   ///< serves it there
    QString control_folder;
    QString tools_folder;            ///< `blkid`, `mount`, `umount`, start-station
    QString testbed_folder;          ///< the simulated devices
    qint64 download_space_bytes = 0; ///< room for "/opt/Corvane/tmp"; 0: as the folder has
    bool window = false; ///< on the user's display, instead of a screen behind the control folder
};

/// Arguments of bwrap(1) for a root of which only the system's programs and libraries, read-only,
/// and the folders above are the machine's own: private mounts, processes, devices and (but for a
/// window) network. The user is root inside it and nobody else outside, so mounting needs no
/// rights.
QStringList sandboxArguments(const SandboxSettings& settings);
