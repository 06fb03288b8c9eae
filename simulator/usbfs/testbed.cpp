#include "usbfs/testbed.h"

#include "usbfs/require.h"

#include <QDir>

// Short, since the path of a socket is: 107 bytes at most.
Testbed::Testbed()
    : m_dir(QStringLiteral("/tmp/corvane.XXXXXX"))
    , m_nodes(m_dir.path())
{
    const QDir dir(m_dir.path());
    for (const char* path : {"dev/.node", "sys/bus", "sys/class"})
        require(dir.mkpath(QLatin1String(path)), dir.filePath(QLatin1String(path)));
}
