#pragma once

#include "bench/earlierarchives.h"
#include "bench/jsonplace.h"
#include "bench/stickplan.h"

/// The stick of a scenario: "in", "out", or an object. Throws BadInput.
StickPlan stickPlanOf(const JsonPlace& place);
/// The station's archives of earlier days. Throws BadInput.
EarlierPlan earlierPlanOf(const JsonPlace& place);
/// "in" is true. Throws BadInput.
bool insertedOf(const JsonPlace& place);
