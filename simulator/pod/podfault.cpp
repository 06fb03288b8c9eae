#include "pod/podfault.h"

#include <algorithm>
#include <array>

namespace {

/// In the order of PodFault.
constexpr std::array<const char*, std::size_t(PodFault::FirmwareAbsent) + 1> kNames{
    "none",
    "no answer",
    "wrong ack",
    "short read",
    "cut half way",
    "digest wrong once",
    "digest wrong always",
    "erase refused",
    "erase unanswered",
    "claim busy",
    "driver busy",
    "unplugged at byte",
    "size absurd",
    "reply lost",
    "reply cut in two reads",
    "two replies in one read",
    "wrong opcode",
    "extended error",
    "crc wrong once",
    "offset wrong",
    "disconnect at byte",
    "mtu tiny",
    "mtu huge",
    "object size odd",
    "object size zero",
    "offset beyond the image",
    "frame without end",
    "reply in drops",
    "leaves before last reply",
    "bootloader absent",
    "firmware absent"};

} // namespace

std::optional<PodFault> podFaultFromName(const QString& name)
{
    const auto* found = std::find_if(kNames.begin(), kNames.end(), [&name](const char* one) {
        return name == QLatin1String(one);
    });
    return found == kNames.end() ? std::nullopt : std::optional(PodFault(found - kNames.begin()));
}

QString podFaultName(PodFault fault)
{
    return QString::fromLatin1(kNames.at(std::size_t(fault)));
}
