#pragma once

#include <QString>

/// The update package for pods, once it is unpacked in "dfu". No state; unpacked on the controller
/// thread before the first pod is served, and read by all workers from then on.
struct UpdatePackage
{
    /// False, and nothing of it left, when it is no package for pods; the log says why.
    static bool unpack(const QString& zipPath);

    static QString pathOf(const QString& name);
    static QString manifestPath();
};
