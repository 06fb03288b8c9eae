#include "support/machinetest.h"
#include "system/testedcomputer.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QtTest>

#include <algorithm>
#include <memory>
#include <vector>

/// Cuts the power of the station's computer at random moments of all that it does with recordings.
/// For more cuts than the suite's set CORVANE_POWER_CUTS=200, for others CORVANE_POWER_CUTS_SEED=2
/// and, as the test library ends a test after five minutes, QTEST_FUNCTION_TIMEOUT=36000000.
class PowerCuts : public QObject
{
    Q_OBJECT

private slots:
    void loseNothing();

private:
    /// What is under way when the power goes.
    enum class Moment { Start, FirstAddition, LaterAddition, Erasure, Copy };

    void makeBench(quint64 seed);
    void cutAndRestart();
    bool cutUntilOneIsPutBack();
    bool workToTheEnd();
    Moment nextMoment();
    bool reach(Moment moment);
    bool reachStart();
    bool additionBegins(int number) const;
    bool reachAddition(int number);
    bool reachErasure(int number);
    bool reachCopy();
    int countPods(bool (*done)(const PodReport&)) const;
    int readOutPods() const;
    int erasedPods() const;
    int additionsPutBack() const { return m_bench->station().log().count(kPuttingBack); }
    int archivesChosen() const { return m_bench->station().log().count(kChoosingArchive); }

    static const QString kPuttingBack;
    static const QString kChoosingArchive;
    QRandomGenerator m_random;
    std::unique_ptr<Bench> m_bench;
    std::vector<Moment> m_moments; ///< to come
    int m_starts = 0;              ///< of the bench's station
    int m_chosen_before = 0;       ///< archives, by the starts before the last one
    qint64 m_addition_ms = 0;      ///< as the last one took, up to the pod's erasing
};

/// The station says so when it finds an addition that the power left undone.
const QString PowerCuts::kPuttingBack = QStringLiteral("Putting archive back:");
/// At every start that comes so far, whether it begins a new archive or goes on with an empty one.
const QString PowerCuts::kChoosingArchive = QStringLiteral("Last zip files count:");

using namespace machinetest;

namespace {

constexpr int kPods = 6;
/// With fewer, none need hit an addition.
constexpr int kUsualCuts = 10;
/// The station keeps 25 archives and begins one with each start.
constexpr int kMostStarts = 24;
constexpr int kMostCutsOfOneBench = 20;
/// A new archive is made within it, or an old one put back.
constexpr int kStartMs = 300;
constexpr int kStickBytesPerSecond = 2'000'000;
/// The archive takes the stick longer.
constexpr int kCopyMs = 2000;

SlotSet usedSlots()
{
    return firstSlots(kPods);
}

Scenario scenario()
{
    Scenario scenario;
    PodPlan plan;
    plan.size = {1024 * 1024, 2 * 1024 * 1024}; // each takes the archive its time
    plan.bytes_per_second = 0;
    scenario.plans.fill(plan);
    scenario.plugged = usedSlots();
    scenario.stick.settings.bytes_per_second = kStickBytesPerSecond;
    return scenario;
}

} // namespace

void PowerCuts::makeBench(quint64 seed)
{
    BenchSettings settings = testedcomputer::settings();
    settings.seed = seed;
    m_bench = std::make_unique<Bench>(settings, scenario());
    m_bench->start();
    m_starts = 1;
    m_chosen_before = 0;
}

int PowerCuts::countPods(bool (*done)(const PodReport&)) const
{
    int pods = 0;
    for (int slot = 0; slot < kPods; ++slot)
        pods += done(m_bench->rack().report(slot));
    return pods;
}

int PowerCuts::readOutPods() const
{
    return countPods([](const PodReport& pod) { return pod.readouts_completed > 0; });
}

int PowerCuts::erasedPods() const
{
    return countPods([](const PodReport& pod) { return pod.erased; });
}

/// Every ten cuts have the same moments. The first one tells how long an addition takes here.
PowerCuts::Moment PowerCuts::nextMoment()
{
    if (m_moments.empty()) {
        m_moments = {Moment::Start,         Moment::Start,         Moment::FirstAddition,
                     Moment::FirstAddition, Moment::LaterAddition, Moment::LaterAddition,
                     Moment::LaterAddition, Moment::LaterAddition, Moment::Copy};
        std::shuffle(m_moments.begin(), m_moments.end(), m_random);
        m_moments.push_back(Moment::Erasure);
    }
    const Moment next = m_moments.back();
    m_moments.pop_back();
    return next;
}

bool PowerCuts::reach(Moment moment)
{
    switch (moment) {
    case Moment::Start:
        return reachStart();
    case Moment::FirstAddition:
        return reachAddition(1);
    case Moment::LaterAddition:
        return reachAddition(m_random.bounded(2, kPods));
    case Moment::Erasure:
        return reachErasure(m_random.bounded(1, kPods));
    case Moment::Copy:
        return reachErasure(kPods) && reachCopy();
    }
    Q_UNREACHABLE();
}

/// An addition is put back, or a new archive made.
bool PowerCuts::reachStart()
{
    const int put_back = additionsPutBack();
    const bool begun =
        comes([&] { return additionsPutBack() > put_back || archivesChosen() > m_chosen_before; });
    QTest::qWait(m_random.bounded(kStartMs));
    return begun;
}

bool PowerCuts::additionBegins(int number) const
{
    return comes([&] { return erasedPods() >= number - 1 && readOutPods() >= number; });
}

/// Somewhere between the last byte of a pod's read-out and its erasing.
bool PowerCuts::reachAddition(int number)
{
    const bool begun = additionBegins(number);
    // The pod's own erasing ends it, should this one be quicker than the last.
    static_cast<void>(QTest::qWaitFor([&] { return erasedPods() >= number; },
                                      m_random.bounded(int(m_addition_ms))));
    return begun;
}

/// The station has not yet heard of it.
bool PowerCuts::reachErasure(int number)
{
    const bool begun = additionBegins(number);
    QElapsedTimer addition;
    addition.start();
    const bool erased = comes([&] { return erasedPods() >= number; });
    m_addition_ms = addition.elapsed();
    return begun && erased;
}

bool PowerCuts::reachCopy()
{
    // The machine is asked for its mounts now and then: a quick copy may be over by then.
    const bool copies = comes([&] {
        return m_bench->holds({Condition::Kind::StickMounted, {}, {}, 1}) ||
               m_bench->holds({Condition::Kind::Panel, {}, {}, 0});
    });
    QTest::qWait(m_random.bounded(kCopyMs));
    return copies;
}

void PowerCuts::cutAndRestart()
{
    m_bench->perform(verb::KillStation{});
    m_chosen_before = archivesChosen();
    m_bench->perform(verb::Unplug{usedSlots()});
    m_bench->perform(verb::Plug{usedSlots(), {}});
    m_bench->perform(verb::RestartStation{});
    ++m_starts;
}

/// Where chance had it that no cut hit an addition.
bool PowerCuts::cutUntilOneIsPutBack()
{
    bool reached = true;
    while (reached && additionsPutBack() == 0 && m_starts < kMostStarts) {
        reached = reach(Moment::LaterAddition);
        cutAndRestart();
    }
    return reached;
}

bool PowerCuts::workToTheEnd()
{
    const bool copied = comes([&] {
        return erasedPods() == kPods && m_bench->holds({Condition::Kind::Panel, {}, {}, 0});
    });
    m_bench->perform(verb::Quit{});
    return comes([&] { return !m_bench->station().running(); }) && copied;
}

void PowerCuts::loseNothing()
{
    const int seed = numberFrom("CORVANE_POWER_CUTS_SEED", 1);
    const int cuts = numberFrom("CORVANE_POWER_CUTS", kUsualCuts);
    m_random.seed(quint32(seed));
    int put_back = 0;
    int to_go = cuts;
    for (int bench = 0; to_go > 0; ++bench) {
        makeBench(quint64(seed) + quint64(bench));
        for (int cut = 0; cut < kMostCutsOfOneBench && to_go > 0; ++cut, --to_go) {
            QVERIFY2(reach(nextMoment()), qPrintable(QStringLiteral("%1 cuts to go").arg(to_go)));
            cutAndRestart();
        }
        QVERIFY(put_back > 0 || cuts < kUsualCuts || cutUntilOneIsPutBack());
        QVERIFY(workToTheEnd());
        put_back += additionsPutBack();
        Expectations expect;
        expect.archived = usedSlots();
        expect.erased = usedSlots();
        QVERIFY(isGood(*m_bench, expect));
    }
    qInfo("%d cuts left an addition that had to be put back", put_back);
    QVERIFY(put_back > 0 || cuts < kUsualCuts);
}

QTEST_GUILESS_MAIN(PowerCuts)
#include "powercuts.moc"
