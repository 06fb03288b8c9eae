#pragma once

#include <QString>

struct Computer;

/// A kernel that is installed, with its drivers.
struct MachineKernel
{
    QString image;
    QString version;

    /// The newest one in a computer's root that has a driver for everything in the machine, as
    /// Debian's stock kernels have; those for clouds have not. Throws BadInput when there is none.
    static MachineKernel installed(const Computer& computer);
};
