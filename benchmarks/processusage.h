#pragma once

#include <QtGlobal>

/// What processes have used so far, by the kernel's own account. Throws std::runtime_error when a
/// process is gone. Reentrant.
namespace processusage {

/// User and system time of all its threads, the ended ones too, but of none of its children.
double cpuSeconds(qint64 pid);
/// The most it ever had in memory at once.
double peakMemoryMebibytes(qint64 pid);
/// User and system time of this process's children that have ended and were waited for.
double endedChildrenCpuSeconds();

} // namespace processusage
