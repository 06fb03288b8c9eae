#pragma once

#include "archives/earlierarchives.h"
#include "scenario/jsonplace.h"
#include "scenario/scenario.h"

/// The stick of a scenario: "in", "out", or an object. Throws BadInput.
StickPlan stickPlanOf(const JsonPlace& place);
/// The station's archives of earlier days. Throws BadInput.
EarlierPlan earlierPlanOf(const JsonPlace& place);
/// Of a step: "in", "out", or an object for another stick that is put in. Throws BadInput.
verb::Stick stickVerbOf(const JsonPlace& place);
