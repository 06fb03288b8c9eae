#include "screen/gaugereader.h"

#include <algorithm>
#include <array>
#include <cstdlib>

/// A static library's resources are loaded by hand, outside of any namespace.
static void loadGaugePictures()
{
    Q_INIT_RESOURCE(panel);
}

namespace {

// Six columns and five rows on 200 by 272; a gauge stands in the middle of its cell.
constexpr double kColumnPx = 200.0 / 6;
constexpr double kRowPx = 272.0 / 5;
constexpr int kColumns = 6;
constexpr int kWidthPx = 20;
constexpr int kHeightPx = 35;
/// The exclamation mark begins this far right of the gauge's left and above its top.
constexpr QPoint kExclamationAt(17, -5);
constexpr int kMarginPx = 7;

constexpr int kDarkest = 100; ///< ink and a plugged place's outline are darker, no fill is
constexpr int kLightest = 235;
/// No outline is lighter, but below a start-up screen that fades.
constexpr int kLightestOutline = 165;
constexpr int kOpaque = 200;
/// The least part of a mark's ink and halo that is to be seen as it is.
constexpr double kSeen = 0.85;

struct Paint
{
    const char* prefix;
    QRgb colour;
};
/// Of a fill; the last one is none. A pulsing fill is on its way between two of them.
constexpr std::array<Paint, 4> kPaints{
    {{"blue ", 0xFF00BFFF}, {"salmon ", 0xFFFA8072}, {"green ", 0xFF9ACD32}, {"", 0xFFFFFFFF}}};

QRect gaugeOf(int slot)
{
    const int row = slot / kColumns;
    const int x = qRound((slot % kColumns + 0.5) * kColumnPx) - kWidthPx / 2;
    const int y = qRound((row + 0.5) * kRowPx) - kHeightPx / 2;
    return {x, y, kWidthPx, kHeightPx};
}

/// In its middle, below the marks.
QPoint bottomOf(const QRect& gauge)
{
    return {gauge.left() + kWidthPx / 2, gauge.bottom() - 3};
}

int distance(QRgb one, QRgb other)
{
    return std::abs(qRed(one) - qRed(other)) + std::abs(qGreen(one) - qGreen(other)) +
           std::abs(qBlue(one) - qBlue(other));
}

QLatin1String nearestPaint(QRgb pixel)
{
    const auto* const nearest =
        std::min_element(kPaints.begin(), kPaints.end(), [pixel](const Paint& a, const Paint& b) {
            return distance(pixel, a.colour) < distance(pixel, b.colour);
        });
    return QLatin1String(nearest->prefix);
}

QPoint outlineOf(const QRect& gauge)
{
    return {gauge.left() + 1, gauge.top() + kHeightPx / 2};
}

bool isDark(const QImage& screen, QPoint at)
{
    return screen.valid(at) && qGray(screen.pixel(at)) < kDarkest;
}

bool isFilled(const QImage& screen, QPoint at)
{
    return qGray(screen.pixel(at)) < kLightest;
}

bool isInk(QRgb pixel)
{
    return qAlpha(pixel) > kOpaque && qGray(pixel) < kDarkest;
}

bool isHalo(QRgb pixel)
{
    return qAlpha(pixel) > kOpaque && qGray(pixel) > kLightest;
}

/// Its ink where it belongs, and none where the mark is opaque and light.
bool standsAt(const QImage& screen, const QImage& mark, QPoint top_left)
{
    int ink = 0;
    int right = 0;
    for (int y = 0; y < mark.height(); ++y)
        for (int x = 0; x < mark.width(); ++x) {
            const QRgb pixel = mark.pixel(x, y);
            const bool dark = isDark(screen, top_left + QPoint(x, y));
            ink += isInk(pixel) || isHalo(pixel);
            right += isInk(pixel) ? dark : isHalo(pixel) && !dark;
        }
    return right >= kSeen * ink;
}

/// The layout rounds to whole pixels in its own way.
bool shows(const QImage& screen, const QImage& mark, QPoint top_left)
{
    for (int y = -1; y <= 1; ++y)
        for (int x = -1; x <= 1; ++x)
            if (standsAt(screen, mark, top_left + QPoint(x, y)))
                return true;
    return false;
}

} // namespace

GaugeReader::GaugeReader()
{
    loadGaugePictures();
    m_bolt.load(QStringLiteral(":/panel/charge_icon.png"));
    m_cross.load(QStringLiteral(":/panel/failed_icon.png"));
    m_exclamation.load(QStringLiteral(":/panel/unchecked_icon.png"));
}

GaugeReader::Reading GaugeReader::read(const QImage& screen, int slot) const
{
    const QRect gauge = gaugeOf(slot);
    const QPoint middle = gauge.topLeft() + QPoint(kWidthPx / 2, kHeightPx / 2);
    const auto centred = [&middle](const QImage& mark) {
        return middle - QPoint(mark.width() / 2, mark.height() / 2);
    };
    Reading reading;
    reading.plugged = isDark(screen, outlineOf(gauge));
    reading.filled = isFilled(screen, bottomOf(gauge));
    // Beside the marks.
    reading.full = reading.filled && isFilled(screen, gauge.topLeft() + QPoint(3, 8)) &&
                   isFilled(screen, {gauge.right() - 3, middle.y()});
    reading.charging = shows(screen, m_bolt, centred(m_bolt));
    reading.failed = shows(screen, m_cross, centred(m_cross));
    reading.unchecked = shows(screen, m_exclamation, gauge.topLeft() + kExclamationAt);
    return reading;
}

QString GaugeReader::name(const Reading& reading)
{
    QString name = reading.failed     ? QStringLiteral("failed")
                   : reading.charging ? QStringLiteral("charging")
                   : reading.full     ? QStringLiteral("full")
                   : reading.filled   ? QStringLiteral("begun")
                   : reading.plugged  ? QStringLiteral("waits")
                                      : QStringLiteral("no pod");
    return reading.unchecked ? name + QStringLiteral(", unchecked") : name;
}

QString GaugeReader::state(const QImage& screen, int slot) const
{
    const QRect gauge = gaugeOf(slot);
    if (qGray(screen.pixel(outlineOf(gauge))) > kLightestOutline)
        return {};
    const Reading reading = read(screen, slot);
    return reading.filled ? nearestPaint(screen.pixel(bottomOf(gauge))) + name(reading)
                          : name(reading);
}

QRect GaugeReader::areaOf(int slot)
{
    return gaugeOf(slot).adjusted(-kMarginPx, -kMarginPx, kMarginPx, kMarginPx);
}

QImage GaugeReader::enlarged(const QImage& screen, int slot, int times)
{
    const QImage gauge = screen.copy(areaOf(slot));
    return gauge.scaled(gauge.size() * times);
}
