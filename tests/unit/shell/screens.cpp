#include "shell/panelclock.h"
#include "support/testfiles.h"
#include "uibackend/uibackend.h"
#include "unit/shell/look.h"

#include <QDir>
#include <QPainter>
#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

namespace {

constexpr int kGaugeCount = 30;

const QColor kEmptyBorder("#a79d9d");
const QColor kPluggedBorder("#3a3939");
const QColor kDownloading("deepskyblue");
const QColor kUpdating("salmon");
const QString kDoneName = QStringLiteral("yellowgreen");
const QColor kDone(kDoneName);

QStringList unexpected_messages;

void noteMessage(QtMsgType type, const QMessageLogContext& /*context*/, const QString& message)
{
    if (type != QtDebugMsg && type != QtInfoMsg)
        unexpected_messages.append(message);
}

} // namespace

class ScreensTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void cleanup();

    void startUp();
    void gaugesStandRowByRow();
    void gauge();
    void chargedPodStopsPulsing();
    void drawsAtItsPaceAndOnlyChanges();
    void unpluggedPlaceEmpties();
    void nextPodIsNotPaintedOver();
    void panel();
    void updateCodesShowNothing();
    void hiddenAreaQuits();

private:
    QObject* part(const char* name) const
    {
        return m_window->findChild<QObject*>(QLatin1String(name));
    }
    QImage shot() const { return grabbed(*m_window); }
    Look look(int idx) const { return lookOf(*m_gauges[idx], shot()); }
    QVariantList state(int idx) const;
    void plugAndCharge(int idx);
    void unplugAndAwaitEmptying(int idx);

    QTemporaryDir m_dir;
    PanelClock m_clock;
    UIBackEnd m_back_end;
    std::unique_ptr<QQmlApplicationEngine> m_engine;
    QQuickWindow* m_window = nullptr;
    QMap<int, QQuickItem*> m_gauges;
};

void ScreensTest::initTestCase()
{
    Q_INIT_RESOURCE(screens);
    qInstallMessageHandler(noteMessage);
    QVERIFY(QDir::setCurrent(m_dir.path()));
    QCOMPARE(m_back_end.readCurrentVersion(), QByteArray());
    QVERIFY(testfiles::write(QStringLiteral("version"), "9.8.7"));

    m_engine = std::make_unique<QQmlApplicationEngine>();
    m_engine->rootContext()->setContextProperty(QStringLiteral("uibackend"), &m_back_end);
    m_engine->load(QUrl(QStringLiteral("qrc:/qml/main.qml")));
    m_clock.pace(*m_engine);
    QCOMPARE(m_engine->rootObjects().size(), 1);
    m_window = qobject_cast<QQuickWindow*>(m_engine->rootObjects().constFirst());
    QVERIFY(m_window);
    QVERIFY(QTest::qWaitForWindowExposed(m_window));
    m_gauges = gaugesIn(m_window->contentItem());
}

void ScreensTest::cleanupTestCase()
{
    m_engine.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QDir::setCurrent(QDir::rootPath());
    QCOMPARE(unexpected_messages, QStringList());
    qInstallMessageHandler(nullptr);
}

void ScreensTest::cleanup()
{
    QCOMPARE(unexpected_messages, QStringList());
}

QVariantList ScreensTest::state(int idx) const
{
    const QQuickItem* gauge = m_gauges[idx];
    return {gauge->property("main_color"), gauge->property("border_color"),
            gauge->property("charging"), gauge->property("val")};
}

/// Returns once the pulse has visibly begun.
void ScreensTest::plugAndCharge(int idx)
{
    m_back_end.setPodConnection(idx, true);
    m_back_end.setPodSyncProgress(idx, 101);
    QSignalSpy pulsed(m_gauges[idx], SIGNAL(main_colorChanged()));
    m_back_end.setChargingState(idx, 22);
    QTRY_VERIFY_WITH_TIMEOUT(pulsed.size() >= 3, kAnimationLimitMs);
}

void ScreensTest::unplugAndAwaitEmptying(int idx)
{
    auto* emptying = m_gauges[idx]->findChild<QObject*>(QStringLiteral("emptying"));
    QSignalSpy emptied(emptying, SIGNAL(stopped()));
    m_back_end.setPodConnection(idx, false);
    QVERIFY(emptied.wait(kAnimationLimitMs));
}

void ScreensTest::startUp()
{
    QQuickItem* logo = itemNamed(m_window->contentItem(), "logo");
    QQuickItem* cover = itemNamed(m_window->contentItem(), "cover");
    QSignalSpy arrived(part("logoAnimation"), SIGNAL(stopped()));
    QSignalSpy uncovered(part("coverAnimation"), SIGNAL(stopped()));
    QCOMPARE(m_window->size(), QSize(480, 272));
    QCOMPARE(m_window->title(), QStringLiteral("Corvane"));
    QCOMPARE(logo->size(), QSizeF(480, 272));
    QCOMPARE(look(0).border, QColor(Qt::white));
    QCOMPARE(look(29).border, QColor(Qt::white));

    QVERIFY(arrived.wait(kAnimationLimitMs));
    QCOMPARE(logo->mapRectToScene(logo->boundingRect()), QRectF(265, 190, 160, 100));
    QCOMPARE(logo->property("source").toUrl(), QUrl(QStringLiteral("qrc:/img/qv_logo_clear.png")));

    QVERIFY(uncovered.wait(kAnimationLimitMs));
    QCOMPARE(cover->opacity(), 0.0);
    QCOMPARE(look(0).border, kEmptyBorder);
    QCOMPARE(look(29).border, kEmptyBorder);
    const QImage image = shot();
    QCOMPARE(image.pixelColor(205 + 2, 105), QColor("darkgrey"));

    QQuickItem* version = itemNamed(m_window->contentItem(), "version");
    QCOMPARE(version->property("text").toString(), QStringLiteral("9.8.7"));
    QVERIFY(QRectF(0, 0, 480, 272).contains(version->mapRectToScene(version->boundingRect())));
}

void ScreensTest::gaugesStandRowByRow()
{
    QCOMPARE(m_gauges.size(), kGaugeCount);
    QRegion taken;
    for (int idx = 0; idx < kGaugeCount; ++idx) {
        QQuickItem* bar = itemNamed(m_gauges[idx], "bar");
        const QRect seen = bar->mapRectToScene(bar->boundingRect()).toRect();
        QCOMPARE(seen.size(), QSize(20, 35));
        const QRect cell(200 * (idx % 6) / 6 - 1, 272 * (idx / 6) / 5 - 1, 36, 57);
        QVERIFY2(cell.contains(seen), qPrintable(QStringLiteral("gauge %1").arg(idx)));
        QVERIFY(!taken.intersects(seen));
        taken += seen;
    }
}

void ScreensTest::gauge()
{
    const QByteArray sync("setPodSyncProgress");
    const QByteArray update("setPodUpdateProgress");
    const QByteArray charge("setChargingState");
    const QColor none(Qt::white);
    const QColor too_little;
    int idx = -1;
    const auto check = [&](const QByteArray& setter, int value, const QColor& fill, double val,
                           int rows) {
        ++idx; // A fresh place for each.
        QMap<int, QVariantList> others;
        for (int other = 0; other < kGaugeCount; ++other)
            if (other != idx)
                others.insert(other, state(other));

        m_back_end.setPodConnection(idx, true);
        QCOMPARE(look(idx).border, kPluggedBorder);
        QCOMPARE(look(idx).filled_rows, 0);
        QMetaObject::invokeMethod(&m_back_end, setter.constData(), Q_ARG(int, idx),
                                  Q_ARG(int, value));

        const Look seen = look(idx);
        QCOMPARE(m_gauges[idx]->property("border_color").toString(), QStringLiteral("dark"));
        QCOMPARE(m_gauges[idx]->property("val").toDouble(), val);
        QCOMPARE(seen.border, kPluggedBorder);
        QVERIFY2(qAbs(seen.filled_rows - rows) <= 1, setter + QByteArray::number(value));
        if (fill.isValid())
            QCOMPARE(seen.fill, fill);
        QVERIFY(!seen.bolt);
        for (auto it = others.cbegin(); it != others.cend(); ++it)
            QCOMPARE(state(it.key()), it.value());
    };
    check(sync, 0, kDownloading, 0.1, 3);
    check(sync, 5, kDownloading, 0.1, 3);
    check(sync, 50, kDownloading, 0.5, 16);
    check(sync, 100, kDownloading, 1.0, 31);
    check(sync, 101, kDone, 1.0, 31);
    check(sync, -1, kDownloading, 0.1, 3);
    check(sync, -2, kDownloading, 0.1, 3);
    check(update, 0, none, 0.0, 0);
    check(update, 5, too_little, 0.05, 1);
    check(update, 50, kUpdating, 0.5, 16);
    check(update, 101, kDone, 1.0, 31);
    check(charge, 2, kDone, 1.0, 31);
}

void ScreensTest::chargedPodStopsPulsing()
{
    const int idx = 20;
    for (const int state : {1, 22, 0}) {
        m_back_end.setChargingState(idx, state);
        QVERIFY(m_gauges[idx]->property("charging").toBool());
        QCOMPARE(m_gauges[idx]->property("val").toDouble(), 1.0);
    }
    m_gauges[idx]->setProperty("charging", false);
    QCOMPARE(m_gauges[idx]->property("main_color").toString(), kDoneName);
    plugAndCharge(idx);
    QVERIFY(look(idx).bolt);
    QCOMPARE(look(idx).corner, kPluggedBorder);

    m_back_end.setChargingState(idx, 2);

    const auto* pulse = m_gauges[idx]->findChild<QObject*>(QStringLiteral("pulse"));
    QVERIFY(!pulse->property("running").toBool());
    const Look seen = look(idx);
    QVERIFY(!seen.bolt);
    QCOMPARE(seen.fill, kDone);
    QCOMPARE(seen.corner, kPluggedBorder);
    QCOMPARE(seen.filled_rows, 31);
}

void ScreensTest::drawsAtItsPaceAndOnlyChanges()
{
    constexpr int kColours = 15;
    const int idx = 27;
    QTRY_VERIFY_WITH_TIMEOUT(!m_clock.isRunning(), kAnimationLimitMs);
    plugAndCharge(idx);
    QVERIFY(m_clock.isRunning());
    QSignalSpy coloured(m_gauges[idx], SIGNAL(main_colorChanged()));
    QSignalSpy drawn(m_window, &QQuickWindow::frameSwapped);
    QElapsedTimer watched;
    watched.start();
    QTRY_VERIFY_WITH_TIMEOUT(coloured.size() >= kColours, kAnimationLimitMs);
    // A late picture may be followed by the next one sooner.
    QVERIFY(watched.elapsed() >= qint64(kColours - 3) * PanelClock::kIntervalMs);
    QVERIFY(drawn.size() <= coloured.size() + 1);

    m_back_end.setChargingState(idx, 2);
    QTRY_VERIFY_WITH_TIMEOUT(!m_clock.isRunning(), kAnimationLimitMs);
}

void ScreensTest::unpluggedPlaceEmpties()
{
    const QVariantList never_used = state(29);
    for (const auto& [idx, charging] : {std::pair(21, false), {22, true}}) {
        if (charging)
            plugAndCharge(idx);
        m_back_end.setPodConnection(idx, true);
        m_back_end.setPodSyncProgress(idx, 70);

        unplugAndAwaitEmptying(idx);

        const Look seen = look(idx);
        QCOMPARE(seen.border, kEmptyBorder);
        QCOMPARE(seen.filled_rows, 0);
        QVERIFY(!seen.bolt);
        QCOMPARE(state(idx), never_used);

        // The next pod in the place starts from nothing.
        m_back_end.setPodConnection(idx, true);
        QCOMPARE(look(idx).filled_rows, 0);
        m_back_end.setPodSyncProgress(idx, 30);
        QCOMPARE(look(idx).fill, kDownloading);
    }
}

void ScreensTest::nextPodIsNotPaintedOver()
{
    int idx = 23;
    // Swapped at once, and while its gauge fades.
    for (const auto& [charging, fading] :
         {std::pair(false, false), {false, true}, {true, false}, {true, true}}) {
        if (charging)
            plugAndCharge(idx);
        m_back_end.setPodConnection(idx, true);
        m_back_end.setPodSyncProgress(idx, 60);
        QSignalSpy faded(m_gauges[idx], SIGNAL(border_colorChanged()));
        m_back_end.setPodConnection(idx, false);
        if (fading)
            QTRY_VERIFY_WITH_TIMEOUT(faded.size() >= 2, kAnimationLimitMs);

        m_back_end.setPodConnection(idx, true);
        m_back_end.setPodSyncProgress(idx, 40);

        for (const char* animation : {"emptying", "pulse"})
            QVERIFY(!m_gauges[idx]
                         ->findChild<QObject*>(QLatin1String(animation))
                         ->property("running")
                         .toBool());
        const Look seen = look(idx++);
        QCOMPARE(seen.border, kPluggedBorder);
        QCOMPARE(seen.fill, kDownloading);
        QVERIFY(qAbs(seen.filled_rows - 12) <= 1);
        QVERIFY(!seen.bolt);
    }
}

void ScreensTest::panel()
{
    QQuickItem* shown = itemNamed(m_window->contentItem(), "picture");
    // In this order no code equals the one before; the back end starts with 0.
    for (const auto& [code, picture] : {std::pair(7, "addpod"),
                                        {0, "syncOK"},
                                        {-1, "sync"},
                                        {1, "plugUSB"},
                                        {-2, "cross_mark"},
                                        {3, "syncOK"},
                                        {2, "addpod"},
                                        {8, "addpod"}}) {
        m_back_end.setSyncDone(code);
        const QString path = QStringLiteral("/img/%1.png").arg(QLatin1String(picture));
        QCOMPARE(shown->property("source").toUrl().path(), path);
        const QRect area = shown->mapRectToScene(shown->boundingRect()).toRect();
        QImage expected(QLatin1Char(':') + path);
        QCOMPARE(expected.size(), area.size());
        QImage on_white(area.size(), QImage::Format_RGB32);
        on_white.fill(Qt::white);
        QPainter(&on_white).drawImage(0, 0, expected);
        QCOMPARE(shot().copy(area), on_white);
    }
}

void ScreensTest::updateCodesShowNothing()
{
    const QRect panel_area(200, 0, 280, 210);
    const QImage before = shot().copy(panel_area);
    for (const int code : {1, 2, -1, -2, 0})
        m_back_end.setUpdateDone(code);
    QCOMPARE(shot().copy(panel_area), before);
}

void ScreensTest::hiddenAreaQuits()
{
    QSignalSpy quit(m_engine.get(), &QQmlEngine::quit);
    QTest::mouseClick(m_window, Qt::LeftButton, Qt::NoModifier, QPoint(31, 15));
    QTest::mouseClick(m_window, Qt::LeftButton, Qt::NoModifier, QPoint(15, 31));
    QTest::mouseClick(m_window, Qt::LeftButton, Qt::NoModifier, QPoint(340, 100));
    QCOMPARE(quit.size(), 0);
    QTest::mouseClick(m_window, Qt::LeftButton, Qt::NoModifier, QPoint(28, 28));
    QCOMPARE(quit.size(), 1);
}

QTEST_MAIN(ScreensTest)
#include "screens.moc"
