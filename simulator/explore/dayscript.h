#pragma once

#include "explore/day.h"

/// The whole day as a scenario: what the day says, then calm, in which all is healed, and what has
/// to be true by then. After the calm, every pod is whole, archived, erased and charged, every
/// recording is on a stick, and the station holds no more than when it is idle.
QJsonObject scenarioOf(const Day& day);
