#pragma once

#include "bench/bench.h"

#include <QSet>
#include <QStringList>

/// What a run came to, once its station has ended.
struct Verdict
{
    int recordings = 0; ///< in the archive
    quint64 recorded_bytes = 0;
    int updated = 0; ///< pods that run the scenario's firmware, as was expected of them
    quint64 update_bus_bytes = 0;   ///< sent to these
    quint64 update_image_bytes = 0; ///< of the image, in what was sent to them
    QStringList problems;           ///< empty when everything was as expected

    bool good() const { return problems.isEmpty(); }
};

/// Holds a finished bench against its expectations. Besides those, three things must be true of
/// every run: a recording that was erased from a pod is whole in an archive of the station or of a
/// stick of the run; so is each of the station's earlier archives that was not to be erased; and
/// whenever the panel said "copied", it was (CopyPromise).
Verdict judge(const Bench& bench, const Expectations& expect);

/// The pictures that the panel has shown, by code, against those that it should have. Pure.
QStringList checkPanel(const QSet<int>& shown, const Expectations& expect);

/// For people: pods, bytes, seconds, MB/s, and each problem on a line.
QString summary(const Bench& bench, const Verdict& verdict);
