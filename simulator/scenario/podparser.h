#pragma once

#include "scenario/jsonplace.h"
#include "scenario/podplan.h"

/// Takes from `place` what it says about a pod, and leaves the rest of `plan` as it is; `more`:
/// what else may stand there. Throws BadInput.
void readPod(const JsonPlace& place, PodPlan& plan, JsonPlace::Members more);
