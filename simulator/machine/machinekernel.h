#pragma once

#include <QString>

/// A kernel that is installed here, with its drivers.
struct MachineKernel
{
    QString image;
    QString version;

    /// The newest one that has a driver for everything in the machine, as Debian's stock kernels
    /// have; those for clouds have not. Throws BadInput when there is none.
    static MachineKernel installed(const QString& boot = QStringLiteral("/boot"),
                                   const QString& modules = QStringLiteral("/lib/modules"));
};
