#include "testbed/testbed.h"

#include <QDir>

// Short, since the path of a socket is: 107 bytes at most.
Testbed::Testbed() : m_dir(QStringLiteral("/tmp/corvane.XXXXXX")), m_nodes(m_dir.path())
{
    Q_ASSERT(m_dir.isValid());
    const QDir dir(m_dir.path());
    for (const char* path : {"dev/.node", "sys/bus", "sys/class"})
        dir.mkpath(QLatin1String(path));
}
