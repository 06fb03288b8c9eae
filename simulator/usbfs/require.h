#pragma once

#include <QString>

/// For what the testbed cannot do without, on the machine that it runs on: ends the program with
/// the name of what failed and the system's reason.
void require(bool done, const QString& what);
