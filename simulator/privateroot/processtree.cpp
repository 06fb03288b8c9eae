#include "privateroot/processtree.h"

#include <QDir>
#include <QFile>

namespace {

/// The file of that name of each of the threads.
QList<QByteArray> ofThreads(qint64 pid, const char* name)
{
    QList<QByteArray> contents;
    const QDir threads(QStringLiteral("/proc/%1/task").arg(pid));
    for (const QString& thread : threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile file(threads.filePath(thread + QLatin1Char('/') + QLatin1String(name)));
        if (file.open(QIODevice::ReadOnly))
            contents += file.readAll().simplified();
    }
    return contents;
}

} // namespace

QList<qint64> childProcesses(qint64 pid)
{
    QList<qint64> children;
    for (const QByteArray& of_thread : ofThreads(pid, "children"))
        for (const QByteArray& child : of_thread.split(' '))
            if (!child.isEmpty())
                children += child.toLongLong();
    return children;
}

QStringList threadNames(qint64 pid)
{
    QStringList names;
    for (const QByteArray& name : ofThreads(pid, "comm"))
        names += QString::fromUtf8(name);
    return names;
}
