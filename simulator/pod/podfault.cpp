#include "pod/podfault.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

using NamedFault = std::pair<PodFault, QLatin1String>;

const std::array<NamedFault, 12> kNamedFaults{{
    {PodFault::None, QLatin1String("none")},
    {PodFault::NoAnswer, QLatin1String("no answer")},
    {PodFault::WrongAck, QLatin1String("wrong ack")},
    {PodFault::ShortRead, QLatin1String("short read")},
    {PodFault::CutHalfWay, QLatin1String("cut half way")},
    {PodFault::DigestWrongOnce, QLatin1String("digest wrong once")},
    {PodFault::DigestWrongAlways, QLatin1String("digest wrong always")},
    {PodFault::EraseRefused, QLatin1String("erase refused")},
    {PodFault::ClaimBusy, QLatin1String("claim busy")},
    {PodFault::DriverBusy, QLatin1String("driver busy")},
    {PodFault::UnpluggedAtByte, QLatin1String("unplugged at byte")},
    {PodFault::SizeAbsurd, QLatin1String("size absurd")},
}};

} // namespace

std::optional<PodFault> podFaultFromName(const QString& name)
{
    const auto* found = std::find_if(kNamedFaults.begin(), kNamedFaults.end(),
                                     [&](const NamedFault& named) { return name == named.second; });
    if (found == kNamedFaults.end())
        return std::nullopt;
    return found->first;
}

QString podFaultName(PodFault fault)
{
    const auto* found = std::find_if(kNamedFaults.begin(), kNamedFaults.end(),
                                     [&](const NamedFault& named) { return fault == named.first; });
    Q_ASSERT(found != kNamedFaults.end());
    return found->second;
}
