#pragma once

#include <QByteArray>
#include <QString>

/// Plays the scenario with the station's program at a bench, to its end or its time limit, and
/// judges it. Empty when all was as expected; else what was not, a line each, and the whole
/// summary is on stderr.
QString playedToItsEnd(const QByteArray& json, const QString& name);
