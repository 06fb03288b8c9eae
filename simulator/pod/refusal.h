#pragma once

#include <QByteArray>
#include <QString>

#include <array>

/// Why a bootloader refuses what it is asked.
enum class Refusal {
    OversizedWrite,   ///< the frame is longer than the MTU
    WriteBeyond,      ///< more than its object holds
    WriteNowhere,     ///< no object is being received
    OversizedCreate,  ///< larger than an object may be, or than the image has left
    EarlyData,        ///< data before an init packet was accepted
    UnfinishedObject, ///< executed before its last byte
    NothingToExecute,
    BadInitPacket, ///< too short
    BadImageSize,  ///< the init packet announces an image that is empty or does not fit
    WrongDigest,   ///< the image is not the announced one
    UnknownRequest,
    UnknownObject,
    Malformed, ///< a request of the wrong length, or a broken frame
};
constexpr int kRefusalKinds = int(Refusal::Malformed) + 1;

/// How often it refused, by kind.
using RefusalCounts = std::array<int, kRefusalKinds>;

/// As a reply says it: the result code and, behind "extended error", one byte more.
QByteArray refusalResult(Refusal refusal);
/// For people: "2 x write beyond its object, ..."; empty when nothing was refused.
QString refusalText(const RefusalCounts& counts);
