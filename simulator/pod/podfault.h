#pragma once

#include <QString>

#include <optional>

/// What can be wrong with a pod; each breaks it in one way that pods in the field do.
enum class PodFault {
    None,
    NoAnswer,          ///< takes commands and never answers
    WrongAck,          ///< refuses the read-out
    ShortRead,         ///< one transfer of the first read-out brings less than was asked for
    CutHalfWay,        ///< falls silent for good after half of the data
    DigestWrongOnce,   ///< the first digest does not fit the data
    DigestWrongAlways, ///< no digest ever fits the data
    EraseRefused,      ///< keeps its recording when told to erase
    EraseUnanswered,   ///< erases its recording when told to, and falls silent for good
    ClaimBusy,         ///< somebody else holds its interface
    DriverBusy,        ///< its kernel driver cannot be detached
    UnpluggedAtByte,   ///< leaves the bus by itself during the read-out
    SizeAbsurd,        ///< announces 0xFFFFFFFF bytes, then falls silent after the real ones
    // In its bootloader; what is said to happen once happens at the first checksum of the image.
    ReplyLost,        ///< a reply never comes, once
    ReplyCut,         ///< every reply comes in two transfers
    TwoReplies,       ///< every reply comes behind a copy of the one before it, in one transfer
    WrongOpcode,      ///< a reply is to another request, once
    ExtendedError,    ///< the first data object is refused when it is executed
    CrcWrongOnce,     ///< the CRC is not that of what was received, once
    OffsetWrong,      ///< the offset is one less than what was received, once
    DisconnectAtByte, ///< leaves the bus by itself in the middle of the image
    MtuTiny,          ///< an MTU with which no data can be written
    MtuHuge,          ///< the largest MTU that can be said
    ObjectSizeOdd,    ///< a largest data object of 10061 bytes, which divides no usual image
    ObjectSizeZero,   ///< takes data objects of no bytes
    OffsetBeyond,     ///< says that it has more of the image than any image can have
    FrameWithoutEnd,  ///< a reply never ends
    ReplyInDrops,     ///< the first reply never ends, and comes a byte a transfer
    LeavesUnheard,    ///< restarts with its first whole image before it answers the execution
    BootloaderAbsent, ///< does not come back when it is sent into its bootloader
    FirmwareAbsent,   ///< does not come back from its bootloader after the update
};

/// It shows only in an update.
inline bool isOfBootloader(PodFault fault)
{
    return fault >= PodFault::ReplyLost;
}

std::optional<PodFault> podFaultFromName(const QString& name);
QString podFaultName(PodFault fault);
