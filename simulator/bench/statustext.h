#pragma once

#include "bench/podrack.h"
#include "site/benchstick.h"

#include <optional>

/// How the bench stands, as a table for a person: one line a slot that has or had a pod.
QString statusText(const PodRack& rack, const BenchStick& stick, std::optional<int> panel_code);
