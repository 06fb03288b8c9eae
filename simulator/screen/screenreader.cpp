#include "screen/screenreader.h"

#include "common/panelcode.h"

#include <QPainter>

#include <cstdlib>

/// A static library's resources are loaded by hand, outside of any namespace.
static void loadPanelPictures()
{
    Q_INIT_RESOURCE(panel);
}

namespace {

const QRect kPanelPicture(212, 12, 255, 185);
// Where gauge 0 stands, and how far apart they are: six columns and five rows on 200 by 272.
constexpr double kColumnPx = 200.0 / 6;
constexpr double kRowPx = 272.0 / 5;
constexpr int kColumns = 6;
// Half of a full bar's height, without its rounded ends.
constexpr int kHalfBarPx = 12;
constexpr QRgb kFullGreen = 0xFF9ACD32;
constexpr QRgb kWhite = 0xFFFFFFFF;
constexpr int kSameColour = 12;
// Mean difference a pixel below which two pictures are the same one, drawn with other rounding.
constexpr double kSamePicture = 12;

int difference(QRgb one, QRgb other)
{
    return (std::abs(qRed(one) - qRed(other)) + std::abs(qGreen(one) - qGreen(other)) +
            std::abs(qBlue(one) - qBlue(other))) /
           3;
}

double meanDifference(const QImage& one, const QImage& other)
{
    qint64 sum = 0;
    for (int y = 0; y < one.height(); ++y)
        for (int x = 0; x < one.width(); ++x)
            sum += difference(one.pixel(x, y), other.pixel(x, y));
    return static_cast<double>(sum) / (one.width() * one.height());
}

/// As the panel draws it: on white, aspect kept, centred.
QImage panelPicture(const char* name)
{
    const QImage picture(QStringLiteral(":/panel/%1.png").arg(QLatin1String(name)));
    const QImage scaled =
        picture.scaled(kPanelPicture.size(), Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QImage drawn(kPanelPicture.size(), QImage::Format_RGB32);
    drawn.fill(Qt::white);
    QPainter(&drawn).drawImage((drawn.width() - scaled.width()) / 2,
                               (drawn.height() - scaled.height()) / 2, scaled);
    return drawn;
}

/// Whether a gauge has one colour from bottom to top.
bool gaugeIs(const QImage& screen, int slot, QRgb colour)
{
    const int row = slot / kColumns;
    const int column = slot % kColumns;
    const int x = static_cast<int>((column + 0.5) * kColumnPx);
    const int middle = static_cast<int>((row + 0.5) * kRowPx);
    for (int y = middle - kHalfBarPx; y <= middle + kHalfBarPx; ++y)
        if (difference(screen.pixel(x, y), colour) > kSameColour)
            return false;
    return true;
}

SlotSet gaugesThatAre(const QImage& screen, QRgb colour)
{
    SlotSet slot_set;
    for (int slot = 0; slot < kSlotCount; ++slot)
        slot_set.set(slot, gaugeIs(screen, slot, colour));
    return slot_set;
}

} // namespace

ScreenReader::ScreenReader()
{
    loadPanelPictures();
    for (const PanelCode& panel : kPanelCodes)
        m_panel_pictures.emplace(panel.code, panelPicture(panel.picture));
}

std::optional<int> ScreenReader::panelCode(const QImage& screen) const
{
    const QImage shown = screen.copy(kPanelPicture);
    std::optional<int> best_code;
    double best = kSamePicture;
    for (const auto& [code, picture] : m_panel_pictures) {
        const double mean = meanDifference(shown, picture);
        if (mean < best) {
            best = mean;
            best_code = code;
        }
    }
    return best_code;
}

SlotSet ScreenReader::fullGauges(const QImage& screen)
{
    return gaugesThatAre(screen, kFullGreen);
}

SlotSet ScreenReader::emptyGauges(const QImage& screen)
{
    return gaugesThatAre(screen, kWhite);
}
