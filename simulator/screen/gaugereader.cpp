#include "screen/gaugereader.h"

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
constexpr int kOpaque = 200;
/// The least part of a mark's ink and halo that is to be seen as it is.
constexpr double kSeen = 0.85;

QRect gaugeOf(int slot)
{
    const int row = slot / kColumns;
    const int x = qRound((slot % kColumns + 0.5) * kColumnPx) - kWidthPx / 2;
    const int y = qRound((row + 0.5) * kRowPx) - kHeightPx / 2;
    return {x, y, kWidthPx, kHeightPx};
}

bool isDark(const QImage& screen, QPoint at)
{
    return screen.valid(at) && qGray(screen.pixel(at)) < kDarkest;
}

bool isFilled(const QImage& screen, int x, int y)
{
    return qGray(screen.pixel(x, y)) < kLightest;
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
    reading.plugged = isDark(screen, {gauge.left() + 1, middle.y()});
    reading.filled = isFilled(screen, middle.x(), gauge.bottom() - 3);
    // Beside the marks.
    reading.full = reading.filled && isFilled(screen, gauge.left() + 3, gauge.top() + 8) &&
                   isFilled(screen, gauge.right() - 3, middle.y());
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

QRect GaugeReader::areaOf(int slot)
{
    return gaugeOf(slot).adjusted(-kMarginPx, -kMarginPx, kMarginPx, kMarginPx);
}
