// The bench's window: what it says of a place, and what a click does. Drawn, but shown to nobody.
#include "common/companions.h"
#include "window/benchwindow.h"
#include "window/scenariolist.h"

#include <QQmlContext>
#include <QQuickItem>
#include <QSignalSpy>
#include <QTest>

namespace {

constexpr quint64 kKilo = 1024;
constexpr quint64 kMega = kKilo * kKilo;

PodSettings podOf(quint64 size_bytes)
{
    PodSettings pod;
    pod.size_bytes = quint32(size_bytes);
    return pod;
}

QQuickItem* placeIn(const QQuickItem& item, int slot)
{
    for (QQuickItem* child : item.childItems()) {
        if (child->objectName() == QLatin1String("place") && child->property("slot") == slot)
            return child;
        if (QQuickItem* const found = placeIn(*child, slot))
            return found;
    }
    return nullptr;
}

QQuickItem* placeOf(const QQuickView& view, int slot)
{
    return placeIn(*view.rootObject(), slot);
}

void clickPlace(QQuickView& view, int slot, Qt::MouseButton button = Qt::LeftButton)
{
    const QQuickItem* const place = placeOf(view, slot);
    const QPointF lower_half(place->width() / 2, place->height() * 3 / 4);
    QTest::mouseClick(&view, button, Qt::NoModifier, place->mapToScene(lower_half).toPoint());
}

} // namespace

class WindowTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void tellsOfReading();
    void tellsOfWhatWasDone();
    void plugsAndPullsByClicks();
    void refusesInWords();
    void putsAFileOnAStickThatIsOut();
    void listsScenarios();
};

namespace {

QStringList warnings; // of the window's own documents

void noteWarning(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text)
{
    if (type == QtWarningMsg)
        warnings += text;
}

} // namespace

void WindowTest::initTestCase()
{
    qInstallMessageHandler(noteWarning);
}

void WindowTest::cleanup()
{
    QCOMPARE(warnings, QStringList());
}

void WindowTest::tellsOfReading()
{
    const PodSettings pod = podOf(8 * kMega);
    PodReport report;
    QCOMPARE(stateOf(pod, report, 0).words, QStringLiteral("plugged in"));
    report.readouts_begun = 1;
    report.bytes_sent = 2 * kMega;
    QCOMPARE(stateOf(pod, report, 0).detail, QStringLiteral("2.0 of 8.0 MB"));
    QCOMPARE(stateOf(pod, report, 0).filled, 0.25);
    QVERIFY(stateOf(pod, report, 0).busy());
    QCOMPARE(stateInTheDark(stateOf(pod, report, 0)).words, QStringLiteral("broken off"));
    QVERIFY(!stateInTheDark(stateOf(pod, report, 0)).busy());
    QVERIFY(!stateAsFailed(stateOf(pod, report, 0)).busy());
    report.readouts_begun = 2;
    QCOMPARE(stateOf(pod, report, 0).words, QStringLiteral("read again"));
    report.bytes_sent = 4 * kMega;
    QCOMPARE(stateOf(pod, report, 0).detail, QStringLiteral("4.0 of 8.0 MB"));
    report.readouts_completed = 2;
    QCOMPARE(stateOf(pod, report, 0).words, QStringLiteral("read"));
    QVERIFY(!stateOf(pod, report, 0).busy());
    QCOMPARE(stateOf(podOf(0), PodReport(), 0).detail, QStringLiteral("0 B"));
}

void WindowTest::tellsOfWhatWasDone()
{
    PodSettings pod = podOf(kMega);
    pod.fault = PodFault::EraseRefused;
    PodReport report;
    report.erased = true;
    QCOMPARE(stateOf(pod, report, 0).words, QStringLiteral("erased"));
    QCOMPARE(stateOf(pod, report, 0).fault, QStringLiteral("erase refused"));
    QCOMPARE(stateAfter(report).detail, QStringLiteral("left, erased"));
    QCOMPARE(stateAfter(PodReport()).detail, QStringLiteral("left, not erased"));
    report.charge_polls = 1;
    QCOMPARE(stateOf(pod, report, 0).words, QStringLiteral("charging"));
    report.charged = true;
    QCOMPARE(stateOf(pod, report, 0).words, QStringLiteral("full"));

    PodReport updated;
    updated.mode = PodMode::Bootloader;
    updated.bootloader.image_bytes = 24 * kKilo;
    QCOMPARE(stateOf(pod, updated, qint64(96 * kKilo)).detail, QStringLiteral("24 of 96 KB"));
    QCOMPARE(stateOf(pod, updated, qint64(96 * kKilo)).filled, 0.25);
    updated.mode = PodMode::Normal;
    updated.updates_completed = 1;
    QCOMPARE(stateOf(pod, updated, 0).words, QStringLiteral("updated"));
}

namespace {

/// A bench whose station is off, and its window.
struct ShownBench
{
    explicit ShownBench(bool stick_inserted = true)
        : scenario(plainScenario(PodPlan(), {}, stick_inserted, {}))
        , bench(BenchSettings(), scenario)
        , runner(bench, scenario, ScenarioRunner::Mode::Watched)
    {
        window.show(bench, runner, scenario, PodPlan());
        panel = window.view()
                    .rootContext()
                    ->contextProperty(QStringLiteral("bench"))
                    .value<BenchPanel*>();
    }

    Scenario scenario;
    Bench bench;
    ScenarioRunner runner;
    BenchWindow window;
    BenchPanel* panel;
};

} // namespace

void WindowTest::plugsAndPullsByClicks()
{
    ShownBench shown;
    QQuickView& view = shown.window.view();
    clickPlace(view, 29);
    QCOMPARE(shown.bench.plugged(), slotSetOf(29));
    QTRY_COMPARE(placeOf(view, 29)->property("words").toString(), QStringLiteral("plugged in"));
    clickPlace(view, 29);
    QVERIFY(shown.bench.plugged().none());
    QTRY_COMPARE(placeOf(view, 29)->property("detail").toString(),
                 QStringLiteral("left, not erased"));
    clickPlace(view, 3, Qt::RightButton);
    QVERIFY(shown.bench.plugged().none());
    shown.bench.perform(verb::Plug{slotSetOf(0), {}}); // as typed
    QTRY_COMPARE(placeOf(view, 0)->property("words").toString(), QStringLiteral("plugged in"));
}

void WindowTest::refusesInWords()
{
    const ShownBench shown;
    shown.panel->plugAs(2, QStringLiteral("64K"), 0, QStringLiteral("no answer"));
    QCOMPARE(shown.bench.rack().lastPod(2)->fault, PodFault::NoAnswer);
    QCOMPARE(shown.bench.rack().lastPod(2)->size_bytes, 65536U);
    QVERIFY(shown.panel->property("message").toString().isEmpty());
    shown.panel->plugAs(2, QStringLiteral("64K"), 0, QStringLiteral("none"));
    QVERIFY(!shown.panel->property("message").toString().isEmpty());
    shown.panel->plugAs(3, QStringLiteral("much"), 0, QStringLiteral("none"));
    QVERIFY(!shown.bench.plugged().test(3));
}

void WindowTest::putsAFileOnAStickThatIsOut()
{
    const ShownBench shown(false);
    const QString name = QStringLiteral("cmd_gen_report.txt");
    shown.panel->putCommandOnStick(name);
    QVERIFY(shown.bench.stick().holds(name));
    QTRY_VERIFY(!shown.panel->property("stickFiles").toStringList().isEmpty());
    shown.panel->setStick(true);
    shown.panel->putCommandOnStick(QStringLiteral("cmd_gen_backup.txt"));
    QVERIFY(shown.bench.stick().lacks(QStringLiteral("cmd_gen_backup.txt")));
    QVERIFY(shown.panel->property("message").toString().contains(QStringLiteral("pull it first")));
}

void WindowTest::listsScenarios()
{
    QVariantList list = scenarioList(companions::scenarios());
    QVERIFY(list.size() > 4);
    for (const QVariant& scenario : list) {
        const QVariantMap map = scenario.toMap();
        QVERIFY(!map.value(QStringLiteral("name")).toString().isEmpty());
        QVERIFY(
            map.value(QStringLiteral("file"))
                .toString()
                .endsWith(map.value(QStringLiteral("short")).toString() + QStringLiteral(".json")));
    }
}

QTEST_MAIN(WindowTest)
#include "window.moc"
