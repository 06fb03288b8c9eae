#pragma once

#include "pod/podreport.h"
#include "pod/podsettings.h"

#include <QString>

#include <optional>

/// What a person is told of one place. A value.
struct PlaceState
{
    enum class Phase { Empty, Waits, Reads, Read, Erased, Charges, Full, Updates, Updated, Failed };
    Phase phase = Phase::Empty;
    QString words = QStringLiteral("empty");
    QString detail;
    QString fault;       ///< of the pod that is there; empty: none
    double filled = 0.0; ///< of its recording or of the image, from 0 to 1

    /// It may change without an event: there is more to come of what it sends or takes.
    bool busy() const { return phase == Phase::Reads || phase == Phase::Updates; }
};

bool operator==(const PlaceState& one, const PlaceState& other);

/// pod: the one that is there; image_bytes: of the firmware that it is to take, 0 if that is not
/// known.
PlaceState stateOf(const PodSettings& pod, const PodReport& report, qint64 image_bytes);
/// Of a pod whose gauge the station marks as failed: it expects nothing more from it.
PlaceState stateAsFailed(PlaceState state);
/// Of a pod that nobody asks for more while the station is off.
PlaceState stateInTheDark(PlaceState state);
/// Of a place whose last pod was pulled.
PlaceState stateAfter(const PodReport& last);

/// As "3.2 MB", in powers of 1024 as the sizes of recordings are written; small ones as "512 B".
QString bytesText(quint64 count);
