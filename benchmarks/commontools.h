#pragma once

#include "pod/podmodel.h"

#include <QStringList>

#include <vector>

/// CPU seconds of `sha256sum`, `cp` and `zip -6` on these pods' recordings as files: what the
/// station's work on them costs when three common tools do it. Works in a temporary folder; throws
/// std::runtime_error when a file cannot be written or a tool fails.
double commonToolsCpuSeconds(const std::vector<PodSettings>& pods);

/// Seconds that `cp` of these files, `zip -6` of them and `cmp` with the copies take together, one
/// after the other.
double copyPackAndCompareSeconds(const QStringList& files);
