#pragma once

#include <QString>
#include <QVariantList>

/// The scenario files below the folder, by path: each a map of "file", its full path, "short", that
/// from the folder on and without ".json", and "name", what it says of itself. What is no scenario
/// is left out.
QVariantList scenarioList(const QString& folder);
