#pragma once

#include "scenario/scenario.h"

#include <QByteArray>

/// Reads a scenario file's bytes; simulator/scenarios.md is the format's reference. What the file
/// does not say about a pod is taken from `usual`. Pure; throws BadInput that names file, place and
/// fault.
Scenario parseScenario(const QByteArray& json, const QString& file_name, const PodPlan& usual);
