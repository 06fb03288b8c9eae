#include "system/testedcomputer.h"

#include "common/companions.h"
#include "machine/machinesite.h"

namespace {

QString board()
{
    return qEnvironmentVariable("CORVANE_BOARD");
}

} // namespace

Computer testedcomputer::computer()
{
    return board().isEmpty() ? Computer::desk() : Computer::board(board());
}

BenchSettings testedcomputer::settings()
{
    BenchSettings settings;
    settings.station_program = board().isEmpty() ? QStringLiteral(CORVANE_STATION_PROGRAM)
                                                 : companions::stationOfBoard(board());
    settings.make_site = machineMaker(computer());
    return settings;
}

QString testedcomputer::packages()
{
    return board().isEmpty() ? QStringLiteral(CORVANE_PACKAGES)
                             : board() + QStringLiteral("/packages");
}
