#pragma once

#include "machine/computer.h"
#include "site/benchsettings.h"

/// The computer that a test of the machine is played on: the board that is ready in the folder
/// CORVANE_BOARD, or else a desk's. Throws BadInput.
namespace testedcomputer {

Computer computer();
/// That computer with the station's program, as it is built or, on the board, packaged.
BenchSettings settings();
/// The folder with the packages for it.
QString packages();

} // namespace testedcomputer
