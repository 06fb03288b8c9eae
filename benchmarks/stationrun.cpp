#include "stationrun.h"

#include "bench/verdict.h"
#include "processusage.h"

#include <QEventLoop>
#include <QTimer>

#include <chrono>
#include <stdexcept>
#include <utility>

namespace {

// On a busy machine, thirty recordings of 64 MiB take more than three.
constexpr std::chrono::minutes kPatience{15};

[[noreturn]] void fail(const QString& problem)
{
    throw std::runtime_error(problem.toStdString());
}

BenchSettings settings()
{
    BenchSettings settings;
    settings.station_program = QStringLiteral(CORVANE_STATION_PROGRAM);
    return settings;
}

SlotSet allPlaces()
{
    return firstSlots(kSlotCount);
}

} // namespace

StationRun::StationRun(Scenario scenario)
    : m_scenario(std::move(scenario))
    , m_bench(settings(), m_scenario)
{
    m_bench.start();
}

qint64 StationRun::await(Condition::Kind kind, const QString& text, int number)
{
    const Condition condition{kind, allPlaces(), text, number};
    awaitUntil([&] { return m_bench.holds(condition); });
    return m_bench.elapsedMs();
}

void StationRun::awaitUntil(const std::function<bool()>& done)
{
    bool over = done();
    const auto ended = [&] { return over || !m_bench.station().running(); };
    QEventLoop loop;
    QObject::connect(&m_bench, &Bench::changed, &loop, [&] {
        over = done();
        if (ended())
            loop.quit();
    });
    QTimer patience;
    QObject::connect(&patience, &QTimer::timeout, &loop, &QEventLoop::quit);
    patience.start(kPatience);
    if (!ended())
        loop.exec();
    if (!over)
        fail(QStringLiteral("the station ended or took more than %1 minutes for one step")
                 .arg(kPatience.count()));
}

std::vector<double> StationRun::awaitUpdates(const SlotSet& slot_set)
{
    struct Update
    {
        qint64 begun_ms = -1;
        qint64 done_ms = -1;
    };
    std::array<Update, kSlotCount> updates;
    awaitUntil([&] {
        bool all_done = true;
        for (int slot = 0; slot < kSlotCount; ++slot) {
            const PodReport pod = slot_set.test(slot) ? report(slot) : PodReport();
            Update& update = updates.at(slot);
            if (update.begun_ms < 0 && pod.mode == PodMode::Bootloader)
                update.begun_ms = m_bench.elapsedMs();
            if (update.done_ms < 0 && isUpdated(pod))
                update.done_ms = m_bench.elapsedMs();
            all_done = all_done && (!slot_set.test(slot) || update.done_ms >= 0);
        }
        return all_done;
    });
    std::vector<double> seconds;
    for (int slot = 0; slot < kSlotCount; ++slot)
        if (slot_set.test(slot))
            seconds.push_back(double(updates.at(slot).done_ms - updates.at(slot).begun_ms) / 1000);
    return seconds;
}

bool StationRun::anyReadOut() const
{
    for (int slot = 0; slot < kSlotCount; ++slot)
        if (m_bench.rack().report(slot).readouts_completed > 0)
            return true;
    return false;
}

double StationRun::cpuSeconds() const
{
    return processusage::cpuSeconds(m_bench.station().stationPid());
}

double StationRun::peakMemoryMebibytes() const
{
    return processusage::peakMemoryMebibytes(m_bench.station().stationPid());
}

double StationRun::recordedMegabytes() const
{
    double bytes = 0;
    for (const PodSettings& pod : pods())
        bytes += pod.size_bytes;
    return bytes / 1e6;
}

std::vector<PodSettings> StationRun::pods() const
{
    std::vector<PodSettings> pods;
    pods.reserve(kSlotCount);
    for (int slot = 0; slot < kSlotCount; ++slot)
        pods.push_back(m_bench.rack().lastPod(slot).value());
    return pods;
}

void StationRun::endAndJudge()
{
    m_bench.perform(verb::Quit{});
    await(Condition::Kind::Ended);
    const Verdict verdict = judge(m_bench, m_scenario.expect);
    if (!verdict.good())
        fail(verdict.problems.join(QStringLiteral("; ")));
}
