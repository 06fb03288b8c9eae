#include "boardrun.h"

#include <QEventLoop>
#include <QTimer>

#include <optional>
#include <stdexcept>

namespace {

/// In a machine that takes three seconds for one of its own.
constexpr std::chrono::minutes kLimit{30};
constexpr double kTicksInSecond = 100;

BenchSettings settingsFor(const Computer& computer, const QString& station, MachineSite*& site)
{
    BenchSettings settings;
    settings.station_program = station;
    settings.make_site = [computer, &site](const auto& of_bench, const auto& scenario,
                                           const auto& folder) {
        auto made = std::make_unique<MachineSite>(of_bench, scenario, folder, computer);
        site = made.get();
        return made;
    };
    return settings;
}

} // namespace

Scenario podsOf(quint32 size_bytes, quint32 bytes_per_second, int polls_until_charged)
{
    Scenario scenario;
    PodPlan plan;
    plan.size = {size_bytes, size_bytes};
    plan.bytes_per_second = bytes_per_second;
    plan.polls_until_charged = polls_until_charged;
    scenario.plans.fill(plan);
    return scenario;
}

BoardRun::BoardRun(const Computer& computer, const QString& station, const Scenario& scenario)
    : m_bench(std::make_unique<Bench>(settingsFor(computer, station, m_site), scenario))
{
    m_bench->start();
}

void BoardRun::awaitUntil(const std::function<bool()>& done, const QString& what)
{
    QEventLoop loop;
    QTimer look;
    QElapsedTimer waited;
    waited.start();
    QObject::connect(&look, &QTimer::timeout, &loop, [&] {
        if (done() || waited.hasExpired(std::chrono::milliseconds(kLimit).count()))
            loop.quit();
    });
    look.start(20);
    loop.exec();
    if (!done())
        throw std::runtime_error("never on the board: " + what.toStdString());
}

void BoardRun::await(const Condition& condition)
{
    awaitUntil([&] { return m_bench->holds(condition); },
               QStringLiteral("condition %1 %2").arg(int(condition.kind)).arg(condition.text));
}

QStringList BoardRun::ask(const QString& command)
{
    const auto result = std::make_shared<std::optional<MachineShell::Result>>();
    m_site->shell().run(command, [result](const MachineShell::Result& what) { *result = what; });
    awaitUntil([&] { return result->has_value(); }, command);
    if ((*result)->exit_code != 0)
        throw std::runtime_error(
            (command + (*result)->lines.join(QLatin1Char('\n'))).toStdString());
    return (*result)->lines;
}

double BoardRun::uptimeSeconds()
{
    return ask(QStringLiteral("cut -d ' ' -f 1 /proc/uptime")).value(0).toDouble();
}

QString BoardRun::stationPid()
{
    if (m_station_pid.isEmpty())
        m_station_pid =
            ask(QStringLiteral("pidof corvane | tr ' ' '\\n' | sort -n | head -n 1")).value(0);
    return m_station_pid;
}

BoardRun::Usage BoardRun::usage()
{
    const QStringList ticks =
        ask(QStringLiteral("cut -d ' ' -f 14-17 /proc/%1/stat").arg(stationPid()))
            .value(0)
            .split(QLatin1Char(' '));
    Usage usage;
    usage.at = uptimeSeconds();
    usage.own = (ticks.value(0).toDouble() + ticks.value(1).toDouble()) / kTicksInSecond;
    usage.ended_children = (ticks.value(2).toDouble() + ticks.value(3).toDouble()) / kTicksInSecond;
    return usage;
}

double BoardRun::wakeUps()
{
    return ask(QStringLiteral("awk '/^voluntary/ { sum += $2 } END { print sum }' "
                              "/proc/%1/task/*/status")
                   .arg(stationPid()))
        .value(0)
        .toDouble();
}

double BoardRun::availableMebibytes()
{
    return ask(QStringLiteral("awk '/^MemAvailable/ { print $2 }' /proc/meminfo"))
               .value(0)
               .toDouble() /
           1024;
}

double BoardRun::writtenMegabytes()
{
    constexpr double kSectorBytes = 512;
    const QString sectors =
        ask(QStringLiteral("sync; awk '$3 == \"vda\" { print $10 }' /proc/diskstats")).value(0);
    return sectors.toDouble() * kSectorBytes / 1e6;
}

double BoardRun::recordedMegabytes() const
{
    double bytes = 0;
    for (int slot = 0; slot < kSlotCount; ++slot)
        if (const auto pod = m_bench->rack().lastPod(slot))
            bytes += pod->size_bytes;
    return bytes / 1e6;
}
