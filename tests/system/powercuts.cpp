#include "bench/bench.h"
#include "bench/verdict.h"
#include "machine/machinesite.h"

#include <QRandomGenerator>
#include <QtTest>

#include <memory>

/// Cuts the power of the station's computer at random moments of its work. For more cuts than the
/// suite's set CORVANE_POWER_CUTS=200, for others CORVANE_POWER_CUTS_SEED=2 and, as the test
/// library ends a test after five minutes, QTEST_FUNCTION_TIMEOUT=36000000.
class PowerCuts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void loseNothing();

private:
    void makeBench(quint64 seed);
    bool workUntilCut();
    bool workToTheEnd();
    int erasedPods() const;

    QRandomGenerator m_random;
    std::unique_ptr<Bench> m_bench;
};

namespace {

constexpr std::chrono::minutes kBootLimit{3};
constexpr int kPods = 6;
/// The station keeps 25 archives and begins one with each start.
constexpr int kMostCutsOfOneBench = 20;
/// Some of an addition's steps, in a slow machine.
constexpr int kLongestWaitMs = 400;

SlotSet usedSlots()
{
    return slotSetFromText(QStringLiteral("12-17"));
}

Scenario scenario()
{
    Scenario scenario;
    PodPlan plan;
    plan.size = {64 * 1024, 512 * 1024};
    plan.bytes_per_second = 0;
    scenario.plans.fill(plan);
    scenario.plugged = usedSlots();
    return scenario;
}

int numberFrom(const char* variable, int usual)
{
    bool ok = false;
    const int number = qEnvironmentVariableIntValue(variable, &ok);
    return ok ? number : usual;
}

} // namespace

void PowerCuts::makeBench(quint64 seed)
{
    BenchSettings settings;
    settings.station_program = QStringLiteral(CORVANE_STATION_PROGRAM);
    settings.seed = seed;
    settings.make_site = makeMachine;
    m_bench = std::make_unique<Bench>(settings, scenario());
    m_bench->start();
}

int PowerCuts::erasedPods() const
{
    int erased = 0;
    for (int slot = 0; slot < kSlotCount; ++slot)
        erased += m_bench->rack().plugged(slot) && m_bench->rack().report(slot).erased;
    return erased;
}

/// Some pods into the work, and a little further: into the next one's transfer or addition.
bool PowerCuts::workUntilCut()
{
    const int erased_before = m_random.bounded(kPods);
    const int further_ms = m_random.bounded(kLongestWaitMs);
    const bool begun = QTest::qWaitFor(
        [&] {
            return erasedPods() >= erased_before &&
                   m_bench->holds({Condition::Kind::ReadoutBegun, usedSlots(), {}, 0});
        },
        std::chrono::milliseconds(kBootLimit).count());
    QTest::qWait(further_ms);
    m_bench->perform(verb::KillStation{});
    m_bench->perform(verb::Unplug{usedSlots()});
    m_bench->perform(verb::Plug{usedSlots(), {}});
    m_bench->perform(verb::RestartStation{});
    return begun;
}

bool PowerCuts::workToTheEnd()
{
    const bool copied = QTest::qWaitFor(
        [&] {
            return erasedPods() == kPods && m_bench->holds({Condition::Kind::Panel, {}, {}, 0});
        },
        std::chrono::milliseconds(kBootLimit).count());
    m_bench->perform(verb::Quit{});
    return QTest::qWaitFor([&] { return !m_bench->station().running(); },
                           std::chrono::milliseconds(kBootLimit).count()) &&
           copied;
}

void PowerCuts::loseNothing()
{
    const int seed = numberFrom("CORVANE_POWER_CUTS_SEED", 1);
    int cuts = numberFrom("CORVANE_POWER_CUTS", 10);
    m_random.seed(quint32(seed));
    for (int bench = 0; cuts > 0; ++bench) {
        makeBench(quint64(seed) + quint64(bench));
        for (int cut = 0; cut < kMostCutsOfOneBench && cuts > 0; ++cut, --cuts)
            QVERIFY2(workUntilCut(), qPrintable(QStringLiteral("%1 cuts to go").arg(cuts)));
        QVERIFY(workToTheEnd());
        Expectations expect;
        expect.archived = usedSlots();
        expect.erased = usedSlots();
        const Verdict verdict = judge(*m_bench, expect);
        QVERIFY2(verdict.good(), qPrintable(summary(*m_bench, verdict)));
    }
}

QTEST_GUILESS_MAIN(PowerCuts)
#include "powercuts.moc"
