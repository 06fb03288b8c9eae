#include "window/placestate.h"

#include <algorithm>
#include <tuple>

namespace {

using Phase = PlaceState::Phase;

struct ByteUnit
{
    quint64 count;
    const char* name;
    int decimals;
};

ByteUnit unitOf(quint64 count)
{
    constexpr quint64 kKilo = 1024;
    if (count < kKilo)
        return {1, "B", 0};
    return count < kKilo * kKilo ? ByteUnit{kKilo, "KB", 0} : ByteUnit{kKilo * kKilo, "MB", 1};
}

QString numberText(quint64 count, const ByteUnit& unit)
{
    return QString::number(double(count) / double(unit.count), 'f', unit.decimals);
}

/// As "3.2 of 8.0 MB": the unit is that of the whole.
QString partText(quint64 done, quint64 whole)
{
    const ByteUnit unit = unitOf(whole);
    return QStringLiteral("%1 of %2").arg(numberText(done, unit), bytesText(whole));
}

double share(quint64 done, quint64 whole)
{
    return whole == 0 ? 1.0 : std::min(1.0, double(done) / double(whole));
}

PlaceState updating(const PodReport& report, qint64 image_bytes)
{
    const quint64 taken = report.bootloader.image_bytes;
    PlaceState state{Phase::Updates, QStringLiteral("bootloader"), {}, {}, 0.0};
    if (image_bytes > 0) {
        state.detail = partText(taken, quint64(image_bytes));
        state.filled = share(taken, quint64(image_bytes));
    } else {
        state.detail = bytesText(taken);
    }
    return state;
}

PlaceState charging(const PodReport& report, Phase before, const QString& done)
{
    if (report.charged)
        return {Phase::Full, QStringLiteral("full"), done, {}, 1.0};
    if (report.charge_polls > 0)
        return {Phase::Charges, QStringLiteral("charging"), done, {}, 1.0};
    return {before, done, {}, {}, 1.0};
}

PlaceState reading(const PodSettings& pod, const PodReport& report)
{
    PlaceState state{Phase::Reads,
                     QStringLiteral("being read"),
                     partText(report.bytes_sent, pod.size_bytes),
                     {},
                     share(report.bytes_sent, pod.size_bytes)};
    if (report.readouts_begun > 1)
        state.words = QStringLiteral("read again");
    return state;
}

PlaceState withoutFault(const PodSettings& pod, const PodReport& report, qint64 image_bytes)
{
    if (report.mode == PodMode::Bootloader)
        return updating(report, image_bytes);
    if (isUpdated(report))
        return charging(report, Phase::Updated, QStringLiteral("updated"));
    if (report.erased)
        return charging(report, Phase::Erased, QStringLiteral("erased"));
    if (report.readouts_completed > 0 && report.readouts_completed == report.readouts_begun)
        return {Phase::Read, QStringLiteral("read"), bytesText(pod.size_bytes), {}, 1.0};
    if (report.readouts_begun > 0)
        return reading(pod, report);
    return {Phase::Waits, QStringLiteral("plugged in"), bytesText(pod.size_bytes), {}, 0.0};
}

} // namespace

bool operator==(const PlaceState& one, const PlaceState& other)
{
    const auto tied = [](const PlaceState& state) {
        return std::tie(state.phase, state.words, state.detail, state.fault, state.filled);
    };
    return tied(one) == tied(other);
}

PlaceState stateOf(const PodSettings& pod, const PodReport& report, qint64 image_bytes)
{
    PlaceState state = withoutFault(pod, report, image_bytes);
    if (pod.fault != PodFault::None)
        state.fault = podFaultName(pod.fault);
    return state;
}

PlaceState stateAsFailed(PlaceState state)
{
    state.phase = PlaceState::Phase::Failed;
    state.words = QStringLiteral("failed");
    return state;
}

PlaceState stateInTheDark(PlaceState state)
{
    if (state.busy()) {
        state.phase = PlaceState::Phase::Waits;
        state.words = QStringLiteral("broken off");
    }
    return state;
}

PlaceState stateAfter(const PodReport& last)
{
    PlaceState state;
    state.detail =
        last.erased ? QStringLiteral("left, erased") : QStringLiteral("left, not erased");
    return state;
}

QString bytesText(quint64 count)
{
    const ByteUnit unit = unitOf(count);
    return QStringLiteral("%1 %2").arg(numberText(count, unit), QLatin1String(unit.name));
}
