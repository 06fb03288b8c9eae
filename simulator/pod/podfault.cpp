#include "pod/podfault.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

using NamedFault = std::pair<PodFault, QLatin1String>;

const std::array<NamedFault, 31> kNamedFaults{{
    {PodFault::None, QLatin1String("none")},
    {PodFault::NoAnswer, QLatin1String("no answer")},
    {PodFault::WrongAck, QLatin1String("wrong ack")},
    {PodFault::ShortRead, QLatin1String("short read")},
    {PodFault::CutHalfWay, QLatin1String("cut half way")},
    {PodFault::DigestWrongOnce, QLatin1String("digest wrong once")},
    {PodFault::DigestWrongAlways, QLatin1String("digest wrong always")},
    {PodFault::EraseRefused, QLatin1String("erase refused")},
    {PodFault::EraseUnanswered, QLatin1String("erase unanswered")},
    {PodFault::ClaimBusy, QLatin1String("claim busy")},
    {PodFault::DriverBusy, QLatin1String("driver busy")},
    {PodFault::UnpluggedAtByte, QLatin1String("unplugged at byte")},
    {PodFault::SizeAbsurd, QLatin1String("size absurd")},
    {PodFault::ReplyLost, QLatin1String("reply lost")},
    {PodFault::ReplyCut, QLatin1String("reply cut in two reads")},
    {PodFault::TwoReplies, QLatin1String("two replies in one read")},
    {PodFault::WrongOpcode, QLatin1String("wrong opcode")},
    {PodFault::ExtendedError, QLatin1String("extended error")},
    {PodFault::CrcWrongOnce, QLatin1String("crc wrong once")},
    {PodFault::OffsetWrong, QLatin1String("offset wrong")},
    {PodFault::DisconnectAtByte, QLatin1String("disconnect at byte")},
    {PodFault::MtuTiny, QLatin1String("mtu tiny")},
    {PodFault::MtuHuge, QLatin1String("mtu huge")},
    {PodFault::ObjectSizeOdd, QLatin1String("object size odd")},
    {PodFault::ObjectSizeZero, QLatin1String("object size zero")},
    {PodFault::OffsetBeyond, QLatin1String("offset beyond the image")},
    {PodFault::FrameWithoutEnd, QLatin1String("frame without end")},
    {PodFault::ReplyInDrops, QLatin1String("reply in drops")},
    {PodFault::LeavesUnheard, QLatin1String("leaves before last reply")},
    {PodFault::BootloaderAbsent, QLatin1String("bootloader absent")},
    {PodFault::FirmwareAbsent, QLatin1String("firmware absent")},
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
