#include "bench/bench.h"
#include "bench/verdict.h"

#include <QtTest>

#include <algorithm>
#include <memory>

/// Plugs and unplugs pods in all places, over and over, and compares what the station holds
/// afterwards with what it held after the first hundred; no recording is lost on the way, and
/// every pod and thread object is gone in the end. For a soak run set
/// CORVANE_CHURN_CYCLES=10000 and, as the test library ends a test after five minutes,
/// QTEST_FUNCTION_TIMEOUT=3600000.
class Churn : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void leavesNothingBehind();
    void quitsCleanly();
    void cleanupTestCase();

private:
    bool waitFor(const Condition& condition);
    void plugAndUnplugAll(int round);
    Holdings holdings() const;

    std::unique_ptr<Bench> m_bench;
    int m_plugged = 0;
};

namespace {

constexpr int kCyclesBefore = 120;
/// The allocator's own coming and going. Objects of a few bytes hide in it: those are counted.
constexpr int kSlackKib = 6 * 1024;

Condition podThreads(int number)
{
    return {Condition::Kind::PodThreads, {}, {}, number};
}

Condition erased(int slot)
{
    return {Condition::Kind::Erased, slotSetOf(slot), {}, 0};
}

} // namespace

void Churn::initTestCase()
{
    PodPlan plan;
    plan.size = SizeRange{4096, 4096};
    BenchSettings settings;
    settings.station_program = QStringLiteral(CORVANE_STATION_PROGRAM);
    m_bench = std::make_unique<Bench>(settings, plainScenario(plan, {}, false, {}));
    m_bench->start();
}

bool Churn::waitFor(const Condition& condition)
{
    // The bench tells when to look again, but not when a thread ends.
    return QTest::qWaitFor([&] { return m_bench->holds(condition); }, 60000);
}

void Churn::plugAndUnplugAll(int round)
{
    m_bench->perform(verb::Plug{firstSlots(kSlotCount), {}});
    m_plugged += kSlotCount;
    QVERIFY(waitFor(podThreads(kSlotCount)));
    // Rounds end in the pods' start-up, in their transfers, or with some already charging.
    if (round % 3 == 1)
        QVERIFY(waitFor(erased(0)));
    if (round % 3 == 2)
        QVERIFY(waitFor(erased(3)));
    m_bench->perform(verb::Unplug{firstSlots(kSlotCount)});
    QVERIFY(waitFor(podThreads(0)));
}

Holdings Churn::holdings() const
{
    return m_bench->station().holdings().value_or(Holdings());
}

void Churn::leavesNothingBehind()
{
    const int cycles =
        std::max(kCyclesBefore, qEnvironmentVariableIntValue("CORVANE_CHURN_CYCLES"));
    const int wanted = cycles > kCyclesBefore ? cycles : 1000;
    Holdings before;
    for (int done = 0, round = 0; done < wanted; done += kSlotCount, ++round) {
        plugAndUnplugAll(round);
        if (QTest::currentTestFailed())
            return;
        if (done + kSlotCount == kCyclesBefore)
            before = holdings();
    }
    // Qt's pooled threads come and go too, but only ever down to none.
    QTRY_VERIFY(holdings().threads <= before.threads);
    const Holdings after = holdings();
    qInfo("%s; then %s", qPrintable(before.text()), qPrintable(after.text()));
    QVERIFY(before.memory_kib > 0);
    QCOMPARE(leftBehind(before, after, kSlackKib), QString());
}

void Churn::quitsCleanly()
{
    m_bench->perform(verb::Quit{});
    QVERIFY(waitFor({Condition::Kind::Ended, {}, {}, 0}));
    Expectations expect;
    expect.on_stick = false;
    expect.warnings = QStringList(QStringLiteral("exception"));
    const Verdict verdict = judge(*m_bench, expect);
    QVERIFY2(verdict.good(), qPrintable(summary(*m_bench, verdict)));
    const StationLog& log = m_bench->station().log();
    QCOMPARE(log.count(QStringLiteral("Pod destructor")), m_plugged);
    QCOMPARE(log.count(QStringLiteral("QThread destroyed")), m_plugged);
}

void Churn::cleanupTestCase()
{
    m_bench.reset();
}

QTEST_GUILESS_MAIN(Churn)
#include "churn.moc"
