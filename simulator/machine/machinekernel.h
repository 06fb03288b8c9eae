#pragma once

#include <QString>

/// A kernel that is installed here, with its drivers.
struct MachineKernel
{
    QString image;
    QString version;

    /// The newest of Debian's stock kernels. Throws BadInput when there is none.
    static MachineKernel installed();
};
