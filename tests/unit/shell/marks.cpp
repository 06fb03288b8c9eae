#include "screen/gaugereader.h"
#include "uibackend/uibackend.h"
#include "unit/shell/look.h"

#include <QPainter>
#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QScreen>
#include <QSignalSpy>
#include <QtTest>

#include <algorithm>
#include <array>
#include <limits>

namespace {

/// What a gauge is to be read as after this: + a pod comes, - it goes, r progress of its read-out,
/// u of its update, c a state of charging.
struct Story
{
    const char* name;
    const char* events;
};

constexpr std::array<Story, 19> kStories{{
    {"no pod", ""},
    {"waits", "+"},
    {"begun", "+ r0"},
    {"begun", "+ r50"},
    {"full", "+ r50 r100"},
    {"begun, unchecked", "+ r100 r-1"},
    {"full, unchecked", "+ r100 r-1 r101"},
    {"charging", "+ r100 r101 c22 c1"},
    {"charging, unchecked", "+ r100 r-1 r101 c22 c1"},
    {"full", "+ r100 r101 c22 c2"},
    {"full, unchecked", "+ r100 r-1 r101 c22 c2"},
    {"failed", "+ r-2"},
    {"failed", "+ r0 r70 r-2"},
    {"failed, unchecked", "+ r100 r-1 r-2"},
    {"begun", "+ r70 r-2 r0"},
    {"failed", "+ u40 u-2"},
    {"failed", "+ u40 r-2"},
    // The next pod of a place is not the one before.
    {"waits", "+ r100 r-1 r-2 - +"},
    {"failed", "+ r-2 - + r-2"},
}};

void tell(UIBackEnd& screen, int idx, const char* events)
{
    for (const QByteArray& event : QByteArray(events).split(' ')) {
        const int value = event.mid(1).toInt();
        if (event == "+" || event == "-")
            screen.setPodConnection(idx, event == "+");
        else if (event.startsWith('r'))
            screen.setPodSyncProgress(idx, value);
        else if (event.startsWith('u'))
            screen.setPodUpdateProgress(idx, value);
        else if (event.startsWith('c'))
            screen.setChargingState(idx, value);
    }
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

/// Of each story's gauge.
QVector<QVector<int>> shapesIn(const QImage& screen)
{
    QVector<QVector<int>> shapes;
    for (size_t slot = 0; slot < kStories.size(); ++slot)
        shapes += shapeOf(screen, int(slot));
    return shapes;
}

/// Of any two gauges in these states.
int leastDifference(const QVector<QVector<int>>& shapes, const QString& state, const QString& other)
{
    int least = std::numeric_limits<int>::max();
    for (int i = 0; i < shapes.size(); ++i)
        for (int k = 0; k < shapes.size(); ++k)
            if (state == QLatin1String(kStories.at(size_t(i)).name) &&
                other == QLatin1String(kStories.at(size_t(k)).name))
                least = std::min(least, difference(shapes[i], shapes[k]));
    return least;
}

} // namespace

/// Each gauge says by shape alone how it goes with its pod.
class ShellMarks : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void areReadWithoutColours();
    void areReadWithTheirColours();
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
    for (size_t slot = 0; slot < kStories.size(); ++slot)
        tell(m_back_end, int(slot), kStories.at(slot).events);
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

void ShellMarks::areReadWithoutColours()
{
    const GaugeReader reader;
    const auto seen = {m_screen, asSeenInGreys(m_screen), asSeenByDeuteranope(m_screen)};
    for (size_t slot = 0; slot < kStories.size(); ++slot)
        for (const QImage& screen : seen) {
            const QString name = GaugeReader::name(reader.read(screen, int(slot)));
            QVERIFY2(name == QLatin1String(kStories.at(slot).name),
                     qPrintable(QStringLiteral("%1: %2").arg(slot).arg(name)));
        }
}

void ShellMarks::areReadWithTheirColours()
{
    const GaugeReader reader;
    for (const auto& [slot, state] :
         {std::pair(0, "no pod"), std::pair(1, "waits"), std::pair(2, "blue begun"),
          std::pair(4, "blue full"), std::pair(5, "blue begun, unchecked"),
          std::pair(9, "green full"), std::pair(10, "green full, unchecked"),
          std::pair(11, "blue failed"), std::pair(16, "salmon failed")})
        QCOMPARE(reader.state(m_screen, slot), QString::fromLatin1(state));
    QImage fading = m_screen; // as below the start-up screen
    QPainter(&fading).fillRect(fading.rect(), QColor(255, 255, 255, 64));
    QCOMPARE(reader.state(fading, 0), QString());
    const QImage gauge = GaugeReader::enlarged(m_screen, 16, 4);
    QCOMPARE(gauge.size(), 4 * GaugeReader::areaOf(16).size());
    for (const QPoint at : {QPoint(0, 0), QPoint(3, 3)}) // of one pixel, the middle
        QCOMPARE(gauge.pixel(gauge.rect().center() / 4 * 4 + at),
                 m_screen.pixel(GaugeReader::areaOf(16).topLeft() + gauge.rect().center() / 4));
}

/// Says how many pixels; screens.md has them.
void ShellMarks::differInShape()
{
    constexpr int kLeastPixels = 12;
    QStringList states;
    for (const Story& story : kStories)
        states += QString::fromLatin1(story.name);
    states.removeDuplicates();
    for (const auto& [sight, seen] : {std::pair("greys", asSeenInGreys(m_screen)),
                                      std::pair("deuteranopia", asSeenByDeuteranope(m_screen))}) {
        const QVector<QVector<int>> shapes = shapesIn(seen);
        for (int one = 0; one < states.size(); ++one) {
            QStringList figures;
            for (int other = 0; other < one; ++other) {
                const int pixels = leastDifference(shapes, states.at(one), states.at(other));
                QVERIFY2(pixels >= kLeastPixels,
                         qPrintable(QStringLiteral("%1: '%2' and '%3' differ by %4 pixels")
                                        .arg(QLatin1String(sight), states.at(one), states.at(other))
                                        .arg(pixels)));
                figures += QString::number(pixels);
            }
            qInfo().noquote() << sight << states.at(one) << figures.join(u' ');
        }
    }
}

QTEST_MAIN(ShellMarks)
#include "marks.moc"
