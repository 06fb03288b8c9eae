#pragma once

#include "pod/podfault.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>

#include <optional>
#include <vector>

/// One pod of a day: always the same, wherever it is plugged in.
struct DayPod
{
    int number = 0; ///< of the thirty, its home slot
    int size_bytes = 0;
    int speed = 0;     ///< bytes a second; 0: no limit
    QString udid;      ///< empty: one of its own
    int calm_slot = 0; ///< where it is plugged in when all is well again

    /// The station takes 512 bytes for nothing, too.
    bool isEmpty() const { return size_bytes == 0 || size_bytes == 512; }
};

/// Something that happens on a day: steps of a scenario that belong together. A day stays one
/// without any of its episodes.
struct Episode
{
    std::optional<int> pod; ///< the pod it happens to
    QJsonArray steps;
};

/// A day at a station up to its calm, as parts that can be left out one by one.
struct Day
{
    quint64 seed = 0;
    bool machine = false; ///< for a virtual machine, where less is possible
    QJsonObject stick;    ///< that is there in the morning
    QJsonObject settings; ///< of the scenario: disks, archives of earlier days, firmware
    std::vector<DayPod> pods;
    std::vector<Episode> episodes;
    bool ownDisk() const { return settings.contains(QStringLiteral("disk")); }
    bool firmware() const { return settings.contains(QStringLiteral("firmware")); }

    bool measured = true; ///< the idle station is weighed at the end
};
