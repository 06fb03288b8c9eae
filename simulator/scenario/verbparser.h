#pragma once

#include "scenario/scenario.h"

/// Reads a line typed at the prompt; the words are those of the scenario files. Pure; throws
/// BadInput. verbHelp() lists what can be typed.
Verb parseVerb(const QString& line, const PodPlan& usual);
QString verbHelp();
