#pragma once

class Pod;

/// The two steps of a pod's firmware update, on its worker thread, which they block: into the
/// bootloader, and, once the pod has come back as one, the update itself.
class PodUpdater
{
public:
    /// Tells the open pod to restart into its bootloader, whether it listens or not.
    static void putInDfu(Pod& pod);

    /// Opens the bootloader and runs the update. A DfuException is logged and only shows in the pod
    /// not being marked done; other failures pass through.
    static void updatePod(Pod& pod);
};
