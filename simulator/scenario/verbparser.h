#pragma once

#include "scenario/jsonplace.h"
#include "scenario/scenario.h"

/// What a step can do, each read into `verbs`; `usual`: what a pod is unless the step says more of
/// it. Both must outlive the members. They throw BadInput.
JsonPlace::Members verbMembers(std::vector<Verb>& verbs, const PodPlan& usual);

/// Reads a line typed at the prompt; the words are those of the scenario files. Throws BadInput.
/// verbHelp() lists what can be typed.
Verb parseVerb(const QString& line, const PodPlan& usual);
QString verbHelp();
