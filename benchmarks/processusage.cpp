#include "processusage.h"

#include <QFile>

#include <sys/resource.h>

#include <stdexcept>
#include <unistd.h>

namespace processusage {

namespace {

QByteArray procFile(qint64 pid, const char* name)
{
    QFile file(QStringLiteral("/proc/%1/%2").arg(pid).arg(QLatin1String(name)));
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("the station is not running");
    return file.readAll();
}

double seconds(const timeval& time)
{
    return double(time.tv_sec) + double(time.tv_usec) / 1e6;
}

} // namespace

double cpuSeconds(qint64 pid)
{
    // Counted from behind the program's name, which may hold blanks: the state is field 0.
    constexpr int kUserTicks = 11;
    constexpr int kSystemTicks = 12;
    const QByteArray stat = procFile(pid, "stat");
    const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
    const double ticks =
        fields.value(kUserTicks).toDouble() + fields.value(kSystemTicks).toDouble();
    return ticks / double(::sysconf(_SC_CLK_TCK));
}

double peakMemoryMebibytes(qint64 pid)
{
    for (const QByteArray& line : procFile(pid, "status").split('\n'))
        if (line.startsWith("VmHWM:"))
            return line.simplified().split(' ').value(1).toDouble() / 1024;
    throw std::runtime_error("the kernel tells no peak memory");
}

double endedChildrenCpuSeconds()
{
    rusage usage{};
    ::getrusage(RUSAGE_CHILDREN, &usage);
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

} // namespace processusage
