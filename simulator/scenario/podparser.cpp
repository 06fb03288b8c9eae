#include "scenario/podparser.h"

#include <limits>

namespace {

constexpr int kMost = std::numeric_limits<int>::max();

QByteArray udidFromText(const QString& text)
{
    QByteArray udid = QByteArray::fromHex(text.toLatin1());
    if (udid.size() != 8 || text.size() != 16)
        throw BadInput(QStringLiteral("an identifier has 16 hexadecimal digits"));
    return udid;
}

SizeRange sizeOf(const JsonPlace& place)
{
    if (!place.isNumber())
        return place.parsed(sizeRangeFromText);
    const auto bytes = static_cast<quint32>(place.number(0, kMost));
    return {bytes, bytes};
}

RecordingContent contentFromText(const QString& text)
{
    if (text == QLatin1String("noise"))
        return RecordingContent::Noise;
    if (text == QLatin1String("motion"))
        return RecordingContent::Motion;
    throw BadInput(QStringLiteral("a recording is of noise or of motion, not '%1'").arg(text));
}

/// A pod that never comes to its byte would be taken for one that left there.
void checkUnplugByte(const JsonPlace& place, const PodPlan& plan)
{
    if (plan.fault != PodFault::UnpluggedAtByte && plan.fault != PodFault::DisconnectAtByte)
        place.refuse(QStringLiteral("this needs a fault: %1, %2")
                         .arg(podFaultName(PodFault::UnpluggedAtByte),
                              podFaultName(PodFault::DisconnectAtByte)));
    if (plan.fault == PodFault::UnpluggedAtByte && plan.unplug_at_byte > plan.size.min_bytes)
        place.refuse(QStringLiteral("the recording may have fewer bytes"));
}

} // namespace

void readPod(const JsonPlace& place, PodPlan& plan, JsonPlace::Members more)
{
    const JsonPlace::Members of_pod{
        {"pod", into(plan.pod, 0, kSlotCount - 1)},
        {"size", [&](const JsonPlace& value) { plan.size = sizeOf(value); }},
        {"recording",
         [&](const JsonPlace& value) { plan.content = value.parsed(contentFromText); }},
        {"speed", into(plan.bytes_per_second, 0, kMost)},
        {"polls until charged", into(plan.polls_until_charged, 0, kMost)},
        {"fault", [&](const JsonPlace& value) { plan.fault = value.parsed(faultFromText); }},
        {"unplug at byte", into(plan.unplug_at_byte, 1, kMost)},
        {"bootloader", into(plan.in_bootloader)},
        {"resume at byte", bytesInto(plan.resume_at_byte, kFlashBytes)},
        {"udid", [&](const JsonPlace& value) { plan.udid = value.parsed(udidFromText); }},
    };
    more.insert(more.end(), of_pod.begin(), of_pod.end());
    place.readMembers(more);
    if (place.has("unplug at byte"))
        checkUnplugByte(place.member("unplug at byte"), plan);
}
