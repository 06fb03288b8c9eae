#pragma once

#include <QString>

/// What the bench starts and is not part of it. Sought beside the running program, in the build
/// folder as in an installation, so that either can be moved. Needs the application object.
namespace companions {

/// "corvane", the station itself; "tools", of the private root; "boot", what a virtual machine
/// starts with.
QString path(const char* name);
/// The station of a board which scripts/board has made ready in the folder.
QString stationOfBoard(const QString& folder);

} // namespace companions
