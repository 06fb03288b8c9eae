#pragma once

#include <QString>
#include <QStringList>

/// What /proc tells of processes, as a technician would look. Empty when a process is gone.
/// Reentrant.
QList<qint64> childProcesses(qint64 pid);
QStringList threadNames(qint64 pid);
