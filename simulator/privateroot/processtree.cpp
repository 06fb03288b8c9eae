#include "privateroot/processtree.h"

#include <QDir>
#include <QFile>

#include <algorithm>

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

int descriptorsOf(qint64 pid)
{
    const QDir descriptors(QStringLiteral("/proc/%1/fd").arg(pid));
    const QStringList names = descriptors.entryList(QDir::Files | QDir::System);
    return static_cast<int>(std::count_if(names.begin(), names.end(), [&](const QString& name) {
        return !QFile::symLinkTarget(descriptors.filePath(name)).contains(QLatin1String("socket:"));
    }));
}

int memoryKibOf(qint64 pid)
{
    const QByteArray text = contents(QStringLiteral("/proc/%1/status").arg(pid));
    const int at = text.indexOf("VmRSS:") + 6;
    return text.mid(at, text.indexOf("kB", at) - at).trimmed().toInt();
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

Holdings holdingsOf(qint64 pid)
{
    QStringList threads = threadNames(pid);
    threads.removeAll(QStringLiteral("Thread (pooled)"));
    return {threads.size(), descriptorsOf(pid), memoryKibOf(pid)};
}
