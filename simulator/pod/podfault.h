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
    ClaimBusy,         ///< somebody else holds its interface
    DriverBusy,        ///< its kernel driver cannot be detached
    UnpluggedAtByte,   ///< leaves the bus by itself during the read-out
    SizeAbsurd,        ///< announces 0xFFFFFFFF bytes, then falls silent after the real ones
};

std::optional<PodFault> podFaultFromName(const QString& name);
QString podFaultName(PodFault fault);
