#pragma once

#include "bench/benchfolder.h"
#include "bench/podrack.h"

#include <optional>

/// How the bench stands, as a table for a person: one line a place that has or had a pod.
QString statusText(const PodRack& rack, const BenchFolder& folder, std::optional<int> panel_code);
