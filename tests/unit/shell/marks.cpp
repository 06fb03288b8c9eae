#include "screen/gaugereader.h"
#include "uibackend/uibackend.h"
#include "unit/shell/look.h"

#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QScreen>
#include <QSignalSpy>
#include <QtTest>

#include <functional>

namespace {

/// What happens to the pod of a place, and what its gauge is to be read as.
struct Story
{
    const char* name;
    std::function<void(UIBackEnd&, int)> tell;
};

void plug(UIBackEnd& screen, int idx)
{
    screen.setPodConnection(idx, true);
}

void read(UIBackEnd& screen, int idx, const QVector<int>& progress)
{
    plug(screen, idx);
    for (const int value : progress)
        screen.setPodSyncProgress(idx, value);
}

void charge(UIBackEnd& screen, int idx, const QVector<int>& progress, int state)
{
    read(screen, idx, progress);
    screen.setChargingState(idx, 22);
    screen.setChargingState(idx, state);
}

// NOLINTNEXTLINE(readability-function-size): a table
const std::vector<Story>& stories()
{
    static const std::vector<Story> all{
        {"no pod", [](UIBackEnd&, int) {}},
        {"waits", plug},
        {"begun", [](UIBackEnd& s, int idx) { read(s, idx, {0}); }},
        {"begun", [](UIBackEnd& s, int idx) { read(s, idx, {50}); }},
        {"full",
         [](UIBackEnd& s, int idx) {
             read(s, idx, {50, 100});
         }},
        {"begun, unchecked",
         [](UIBackEnd& s, int idx) {
             read(s, idx, {100, -1});
         }},
        {"full, unchecked",
         [](UIBackEnd& s, int idx) {
             read(s, idx, {100, -1, 101});
         }},
        {"charging",
         [](UIBackEnd& s, int idx) {
             charge(s, idx, {100, 101}, 1);
         }},
        {"charging, unchecked",
         [](UIBackEnd& s, int idx) {
             charge(s, idx, {100, -1, 101}, 1);
         }},
        {"full",
         [](UIBackEnd& s, int idx) {
             charge(s, idx, {100, 101}, 2);
         }},
        {"full, unchecked",
         [](UIBackEnd& s, int idx) {
             charge(s, idx, {100, -1, 101}, 2);
         }},
        {"failed", [](UIBackEnd& s, int idx) { read(s, idx, {-2}); }},
        {"failed",
         [](UIBackEnd& s, int idx) {
             read(s, idx, {0, 70, -2});
         }},
        {"failed, unchecked",
         [](UIBackEnd& s, int idx) {
             read(s, idx, {100, -1, -2});
         }},
        {"begun",
         [](UIBackEnd& s, int idx) {
             read(s, idx, {70, -2, 0});
         }},
        {"failed",
         [](UIBackEnd& s, int idx) {
             plug(s, idx);
             s.setPodUpdateProgress(idx, 40);
             s.setPodUpdateProgress(idx, -2);
         }},
        // The next pod of a place is not the one before.
        {"waits",
         [](UIBackEnd& s, int idx) {
             read(s, idx, {100, -1, -2});
             s.setPodConnection(idx, false);
             plug(s, idx);
         }},
        {"failed",
         [](UIBackEnd& s, int idx) {
             read(s, idx, {-2});
             s.setPodConnection(idx, false);
             read(s, idx, {-2});
         }},
    };
    return all;
}

QImage asSeenInGreys(const QImage& screen)
{
    return screen.convertToFormat(QImage::Format_Grayscale8).convertToFormat(QImage::Format_RGB32);
}

/// Without the cones for green.
QImage asSeenByDeuteranope(const QImage& screen)
{
    QImage seen = screen;
    for (int y = 0; y < seen.height(); ++y)
        for (int x = 0; x < seen.width(); ++x) {
            const QColor pixel = screen.pixelColor(x, y);
            const double red = pixel.redF();
            const double green = pixel.greenF();
            const double blue = pixel.blueF();
            seen.setPixelColor(x, y,
                               QColor::fromRgbF(0.625 * red + 0.375 * green,
                                                0.7 * red + 0.3 * green, 0.3 * green + 0.7 * blue));
        }
    return seen;
}

/// Paper, fill or ink: no colour, and no shade of a fill.
QVector<int> shapeOf(const QImage& screen, int slot)
{
    QVector<int> shape;
    const QRect area = GaugeReader::areaOf(slot);
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x) {
            const int grey = screen.valid(x, y) ? qGray(screen.pixel(x, y)) : 255;
            shape += grey < 100 ? 0 : grey < 235 ? 1 : 2;
        }
    return shape;
}

int difference(const QVector<int>& one, const QVector<int>& other)
{
    int pixels = 0;
    for (int i = 0; i < one.size(); ++i)
        pixels += one[i] != other[i];
    return pixels;
}

} // namespace

/// Each gauge says by shape alone how it goes with its pod.
class ShellMarks : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void areReadWithoutColours_data();
    void areReadWithoutColours();
    void differInShape();

private:
    UIBackEnd m_back_end;
    QQmlApplicationEngine m_engine;
    QImage m_screen;
};

void ShellMarks::initTestCase()
{
    Q_INIT_RESOURCE(screens);
    m_engine.rootContext()->setContextProperty(QStringLiteral("uibackend"), &m_back_end);
    m_engine.load(QUrl(QStringLiteral("qrc:/qml/main.qml")));
    QCOMPARE(m_engine.rootObjects().size(), 1);
    auto* window = qobject_cast<QQuickWindow*>(m_engine.rootObjects().constFirst());
    QVERIFY(window && QTest::qWaitForWindowExposed(window));
    QQuickItem* const start_up = itemNamed(window->contentItem(), "cover");
    QVERIFY(start_up);
    QTRY_COMPARE_WITH_TIMEOUT(start_up->opacity(), 0.0, kAnimationLimitMs);
    for (size_t slot = 0; slot < stories().size(); ++slot)
        stories()[slot].tell(m_back_end, int(slot));
    for (QQuickItem* gauge : gaugesIn(window->contentItem())) {
        auto* const emptying = gauge->findChild<QObject*>(QStringLiteral("emptying"));
        QTRY_VERIFY_WITH_TIMEOUT(!emptying->property("running").toBool(), kAnimationLimitMs);
    }
    QSignalSpy drawn(window, &QQuickWindow::frameSwapped);
    window->update();
    QVERIFY(drawn.wait(kAnimationLimitMs));
    m_screen = window->screen()->grabWindow(window->winId()).toImage();
    QVERIFY(!m_screen.isNull());
}

void ShellMarks::areReadWithoutColours_data()
{
    QTest::addColumn<QImage>("screen");
    QTest::newRow("colours") << m_screen;
    QTest::newRow("greys") << asSeenInGreys(m_screen);
    QTest::newRow("deuteranope") << asSeenByDeuteranope(m_screen);
}

void ShellMarks::areReadWithoutColours()
{
    QFETCH(const QImage, screen);
    const GaugeReader reader;
    for (size_t slot = 0; slot < stories().size(); ++slot) {
        const QString name = GaugeReader::name(reader.read(screen, int(slot)));
        QVERIFY2(name == QLatin1String(stories()[slot].name),
                 qPrintable(QStringLiteral("%1: %2").arg(slot).arg(name)));
    }
}

void ShellMarks::differInShape()
{
    constexpr int kLeastPixels = 12;
    const QImage greys = asSeenInGreys(m_screen);
    // As far apart on the screen as whole pixels have it.
    for (size_t one = 0; one < stories().size(); ++one)
        for (size_t other = one + 1; other < stories().size(); ++other) {
            if (qstrcmp(stories()[one].name, stories()[other].name) == 0)
                continue;
            const int pixels = difference(shapeOf(greys, int(one)), shapeOf(greys, int(other)));
            QVERIFY2(
                pixels >= kLeastPixels,
                qPrintable(QStringLiteral("%1 and %2: %3 pixels").arg(one).arg(other).arg(pixels)));
        }
}

QTEST_MAIN(ShellMarks)
#include "marks.moc"
