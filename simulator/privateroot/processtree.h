#pragma once

#include "site/holdings.h"

#include <QString>
#include <QStringList>

/// What /proc tells of processes, as a technician would look. Empty when a process is gone.
/// Reentrant.
QList<qint64> childProcesses(qint64 pid);
QStringList threadNames(qint64 pid);
/// Qt's pooled threads are left out: they come and go, down to none. Sockets are no descriptors
/// here: the simulated devices' preload leaves one behind whenever the station comes to open a
/// device that has just gone.
Holdings holdingsOf(qint64 pid);
