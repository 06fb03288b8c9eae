#include "archives/earlierarchives.h"
#include "bench/copypromise.h"
#include "bench/podrack.h"
#include "bench/scenariorunner.h"
#include "bench/servicetimes.h"
#include "bench/verdict.h"
#include "common/badinput.h"
#include "common/files.h"
#include "privateroot/servedstick.h"
#include "scenario/scenarioparser.h"
#include "usbfs/usbbus.h"

#include <QTemporaryDir>
#include <QtTest>

namespace {

PodPlan planOfPod(int pod)
{
    PodPlan plan;
    plan.pod = pod;
    plan.size = {100, 100};
    return plan;
}

Scenario parse(const QByteArray& json)
{
    return parseScenario(json, QStringLiteral("day.json"), PodPlan());
}

/// Of a scenario that is played with a program that ends at once in the station's place: nothing is
/// logged, and no step can touch the screen.
QStringList problemsOf(const QByteArray& json)
{
    const Scenario scenario = parse(json);
    BenchSettings settings;
    settings.station_program = QStringLiteral("/bin/false");
    Bench bench(settings, scenario);
    return ScenarioRunner::playToItsEnd(bench, scenario);
}

/// Its pods are told by hand what a station would tell them.
class HandBus : public PodBus
{
public:
    std::array<std::shared_ptr<PodModel>, kSlotCount> pods;

protected:
    void enter(int slot, const std::shared_ptr<PodModel>& pod) override
    {
        pods.at(static_cast<std::size_t>(slot)) = pod;
    }
    void leave(int /*slot*/) override {}
};

} // namespace

/// What days of many stations, sticks and moving pods need of the bench.
class BenchDaysTest : public QObject
{
    Q_OBJECT

private slots:
    void takesAPodsRecordingAlong();
    void timesWhoWaits();
    void weighsTheStation();
    void looksAtWhatIsNotTheStations();
    void remembersWhatWasDelivered();
    void readsWhatDaysNeed();
    void leavesOutWhatCannotBeDone();
    void tellsWhatItWaitedFor();
};

void BenchDaysTest::takesAPodsRecordingAlong()
{
    HandBus bus;
    PodRack rack(bus, 7);
    rack.setPlan(3, planOfPod(9));
    rack.setPlan(5, planOfPod(9));
    rack.plug(slotSetOf(3));
    QVERIFY_EXCEPTION_THROWN(rack.plug(slotSetOf(3)), BadInput);
    QVERIFY_EXCEPTION_THROWN(rack.unplug(slotSetOf(2)), BadInput);
    const KnownRecording first = rack.recordings(slotSetOf(3)).front();
    QVERIFY_EXCEPTION_THROWN(rack.plug(slotSetOf(5)), BadInput); // it is in slot 3
    rack.unplug(slotSetOf(3));
    rack.plug(slotSetOf(5));
    QCOMPARE(rack.recordings(slotSetOf(5)).front().sha256, first.sha256);
    bus.pods[5]->receive("A");
    rack.unplug(slotSetOf(5));
    rack.plug(slotSetOf(3));
    const KnownRecording second = rack.recordings(slotSetOf(3)).front();
    QCOMPARE(second.name, first.name);
    QVERIFY(second.sha256 != first.sha256);
    rack.setPlan(5, {});
    rack.plug(slotSetOf(5)); // the pod that is at home there
    QVERIFY(rack.recordings(slotSetOf(5)).front().name != first.name);
    QCOMPARE(rack.erasedRecordings().size(), std::size_t(1)); // and not once more
    QCOMPARE(rack.erasedRecordings().front().sha256, first.sha256);
}

void BenchDaysTest::timesWhoWaits()
{
    ServiceTimes times;
    times.plugged(firstSlots(3), 100);
    times.left(slotSetOf(2), 900); // before there was a station
    times.stationStarted(1000);
    times.left(slotSetOf(0), 1500);
    times.plugged(slotSetOf(0), 1600);
    times.left(slotSetOf(0), 1700);
    times.stationEnded(4000);
    times.stationStarted(9000);
    times.left(slotSetOf(1), 9100);
    QCOMPARE(times.longestMs(0), 500);
    QCOMPARE(times.longestMs(1), 3000);
    QCOMPARE(times.longestMs(2), 0);
}

void BenchDaysTest::weighsTheStation()
{
    const Holdings idle{6, 14, 40000};
    QVERIFY(leftBehind(idle, idle).isEmpty());
    QVERIFY(leftBehind(idle, {6, 18, 60000}).isEmpty()); // it waits for a child
    QVERIFY(leftBehind(idle, {7, 14, 40000}).startsWith(QLatin1String("7 threads")));
    QVERIFY(!leftBehind(idle, {6, 19, 40000}).isEmpty());
    if (!leftBehind(idle, {6, 14, 400000}).isEmpty())
        return; // as without a sanitizer
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    QFAIL("memory counts");
#endif
}

void BenchDaysTest::looksAtWhatIsNotTheStations()
{
    const QTemporaryDir kept;
    const BenchFolder folder(kept.path());
    StickPlan plan;
    for (const char* name : {"photo", "QVX_DATAS.cvx", "cmd_gen_backup.txt", "QVX_DATAS_1.cvx"})
        plan.items.push_back(
            {QLatin1String(name), StickItem::Kind::Text, QStringLiteral("mine"), 0});
    ServedStick stick(folder.stick(), folder.control(), plan);
    QVERIFY(QFile::remove(stick.path(QStringLiteral("cmd_gen_backup.txt"))));
    writeFile(stick.path(QStringLiteral("QVX_DATAS.cvx")), "new");
    QCOMPARE(stick.disturbed(), QStringList());
    QVERIFY(QFile::remove(stick.path(QStringLiteral("QVX_DATAS_1.cvx"))));
    stick.replace(plan);
    writeFile(stick.path(QStringLiteral("photo")), "min");
    QStringList disturbed = stick.disturbed();
    disturbed.sort();
    QCOMPARE(disturbed, (QStringList{QStringLiteral("QVX_DATAS_1.cvx"), QStringLiteral("photo")}));
}

/// A stick that is used for something else, and a station that was told to erase.
void BenchDaysTest::remembersWhatWasDelivered()
{
    const QTemporaryDir kept;
    const BenchFolder folder(kept.path());
    const ServedStick stick(folder.stick(), folder.control(), {});
    makeEarlierArchives(folder.stick(), {1, 100}, 7);
    const KnownRecording delivered{1, QStringLiteral("EA0000000000000.ozu"), 100,
                                   Recording(7000, 100).sha256()};
    const KnownRecording erased{2, QStringLiteral("B.ozu"), 4, QByteArray(32, 'b')};
    const KnownRecording lost{3, QStringLiteral("C.ozu"), 4, QByteArray(32, 'c')};
    std::vector<KnownRecording> all{delivered, erased, lost};
    CopyPromise promise(folder, stick, [&all] { return all; });
    QCOMPARE(promise.undelivered(all).size(), 2);
    promise.noteDelivered();
    QVERIFY(QFile::remove(stick.path(QStringLiteral("0000000000.cvx"))));
    promise.giveUp({erased});
    QCOMPARE(promise.undelivered(all),
             QStringList(QStringLiteral("C.ozu of slot 3 is on no stick")));
}

void BenchDaysTest::readsWhatDaysNeed()
{
    const Scenario scenario = parse(R"({"name": "day", "steps": [
        {"wait": 1.5, "patience": 7, "if possible": true, "after": {"run log": "Version:"},
         "plug": {"slots": 3, "pod": 9}},
        {"station": "measure"}, {"stick": {"pull at byte": 9, "may stay": true}}],
        "expect": {"settled": true, "punctual": {"slots": "1-2", "seconds": 40}}})");
    const Step& first = scenario.steps.at(0);
    QCOMPARE(first.wait.count(), 1500);
    QCOMPARE(first.patience->count(), 7000);
    QVERIFY(first.if_possible && !scenario.steps.at(1).if_possible);
    QCOMPARE(std::get<verb::Plug>(first.action).plan->pod, std::optional<int>(9));
    QVERIFY(std::holds_alternative<verb::MeasureStation>(scenario.steps.at(1).action));
    QVERIFY(std::get<verb::Stick>(scenario.steps.at(2).action).other->may_stay);
    QVERIFY(scenario.expect.settled);
    QCOMPARE(scenario.expect.punctual, slotSetFromText(QStringLiteral("1-2")));
    QCOMPARE(scenario.expect.punctual_limit.count(), 40);
}

void BenchDaysTest::leavesOutWhatCannotBeDone()
{
    QElapsedTimer clock;
    clock.start();
    QCOMPARE(problemsOf(R"({"name": "day", "expect": {}, "stick": "out", "steps": [
        {"if possible": true, "stick": "out"},
        {"after": {"ended": true, "run log": "never"}, "wait": 600, "patience": 0.3,
         "stick": "in"},
        {"after": {"ended": true}, "if possible": true, "stick": "in"},
        {"after": {"ended": true}, "wait": 0.2, "stick": "in"}]})"),
             QStringList(QStringLiteral("step 4: the stick is in already")));
    QVERIFY(clock.elapsed() >= 500);
}

void BenchDaysTest::tellsWhatItWaitedFor()
{
    QCOMPARE(problemsOf(R"({"name": "day", "expect": {}, "steps": [{"station": "quit", "after": {
        "pod threads": 0, "log": "Hash \"calculated\"", "times": 2, "readout begun": "1-3,7",
        "gauge": {"waits": 4}, "stick bytes": {"backup.zip": 9}, "panel": 0, "stick mounted": true}, "at": 3600}]})"),
             QStringList(QStringLiteral(
                 "the station ended while step 1 waited for readout begun in slots 1-3,7 and "
                 "gauge \"waits\" in slot 4 and log \"Hash \"calculated\"\" 2 times and panel 0 "
                 "(archive copied to the stick) and stick bytes \"backup.zip\" 9 and stick mounted "
                 "true and second 3600")));
    QCOMPARE(problemsOf(R"({"name": "day", "expect": {}, "time limit": 1, "steps": [
        {"after": {"ended": true, "run log": "never"}, "stick": "out"}]})"),
             QStringList(QStringLiteral(
                 "the time limit of 1 s passed while step 1 waited for run log \"never\"")));
    QCOMPARE(problemsOf(R"({"name": "day", "expect": {}, "time limit": 1, "steps": [
        {"after": {"ended": true}, "wait": 600, "stick": "out"}]})"),
             QStringList(QStringLiteral("the time limit of 1 s passed while step 1 waited for its "
                                        "time, 600 s after the step before")));
}

QTEST_GUILESS_MAIN(BenchDaysTest)
#include "days.moc"
