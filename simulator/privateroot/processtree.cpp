#include "privateroot/processtree.h"

#include <QDir>
#include <QFile>

#include <algorithm>

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
    const QByteArray text = ofThreads(pid, "status").value(0); // all have it in common
    const int at = text.indexOf("VmRSS:") + 6;
    return text.mid(at, text.indexOf("kB", at) - at).trimmed().toInt();
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

Holdings holdingsOf(qint64 pid)
{
    QStringList threads = threadNames(pid);
    threads.removeAll(QStringLiteral("Thread (pooled)"));
    return {threads.size(), descriptorsOf(pid), memoryKibOf(pid)};
}
