#include "bench/statustext.h"

#include "common/panelcode.h"

namespace {

QLatin1String panelText(std::optional<int> code)
{
    for (const PanelCode& panel : kPanelCodes)
        if (panel.code == code)
            return QLatin1String(panel.meaning);
    return QLatin1String("not seen");
}

QString stateOf(const PodRack& rack, int slot)
{
    const PodReport report = rack.report(slot);
    if (!rack.plugged().test(slot))
        return report.erased ? QStringLiteral("gone, erased") : QStringLiteral("gone, not erased");
    if (report.mode == PodMode::Bootloader)
        return QStringLiteral("in its bootloader");
    if (isUpdated(report))
        return QStringLiteral("updated");
    if (report.charged)
        return QStringLiteral("erased, full");
    if (report.erased)
        return QStringLiteral("erased, charging");
    if (report.readouts_begun > 0)
        return QStringLiteral("read out");
    return QStringLiteral("plugged");
}

QString lineOf(const PodRack& rack, int slot)
{
    const PodSettings pod = *rack.lastPod(slot);
    const PodReport report = rack.report(slot);
    const QString fault =
        pod.fault == PodFault::None ? QString() : QStringLiteral("  ") + podFaultName(pod.fault);
    return QStringLiteral("%1  %2  %3 of %4 bytes  %5%6\n")
        .arg(slot, 2)
        .arg(QString::fromLatin1(pod.udid.toHex().toUpper()))
        .arg(report.bytes_sent, 10)
        .arg(pod.size_bytes, 10)
        .arg(stateOf(rack, slot), fault);
}

} // namespace

QString statusText(const PodRack& rack, const BenchStick& stick, std::optional<int> panel_code)
{
    QString text;
    for (int slot = 0; slot < kSlotCount; ++slot)
        if (rack.lastPod(slot))
            text += lineOf(rack, slot);
    text += QStringLiteral("stick %1, panel: %2\n")
                .arg(stick.inserted() ? QStringLiteral("in") : QStringLiteral("out"),
                     panelText(panel_code));
    return text;
}
