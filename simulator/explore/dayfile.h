#pragma once

#include "explore/day.h"

/// Writes the day as a scenario file. Throws BadInput when that cannot be done.
void writeDay(const Day& day, const QString& path);

/// The bench's arguments that play that file as the day it is.
QStringList playArguments(const Day& day, const QString& path);
