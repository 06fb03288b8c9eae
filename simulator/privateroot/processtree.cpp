#include "privateroot/processtree.h"

#include <QDir>
#include <QFile>

namespace {

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// One folder a thread.
QDir threadsOf(qint64 pid)
{
    return QDir(QStringLiteral("/proc/%1/task").arg(pid));
}

} // namespace

QList<qint64> childProcesses(qint64 pid)
{
    QList<qint64> children;
    const QDir threads = threadsOf(pid);
    for (const QString& thread : threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        for (const QByteArray& child :
             contents(threads.filePath(thread + QStringLiteral("/children")))
                 .simplified()
                 .split(' '))
            if (!child.isEmpty())
                children += child.toLongLong();
    return children;
}

QStringList threadNames(qint64 pid)
{
    QStringList names;
    const QDir threads = threadsOf(pid);
    for (const QString& thread : threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        names += QString::fromUtf8(
            contents(threads.filePath(thread + QStringLiteral("/comm"))).trimmed());
    return names;
}
