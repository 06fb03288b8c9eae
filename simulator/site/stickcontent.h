#pragma once

#include "scenario/stickplan.h"

/// Puts into `folder` what the plan says is on the stick; what else is there stays. Throws BadInput
/// when that cannot be done.
void fillStick(const QString& folder, const StickPlan& plan);
