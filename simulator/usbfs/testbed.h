#pragma once

#include "usbfs/nodeserver.h"

#include <QString>
#include <QTemporaryDir>

/// The private "/dev" and "/sys" of the station: a program sees them in place of the machine's own
/// when it runs under umockdev's preload with dir() as UMOCKDEV_DIR. The directory ends with it.
class Testbed
{
public:
    Testbed();

    QString dir() const { return m_dir.path(); }
    NodeServer& nodes() { return m_nodes; }
    const NodeServer& nodes() const { return m_nodes; }

private:
    QTemporaryDir m_dir;
    NodeServer m_nodes;
};
