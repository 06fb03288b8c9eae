#pragma once

#include <QString>

/// What the bench starts and is not part of it. Sought beside the running program, in the build
/// folder as in an installation, so that either can be moved. Needs the application object.
namespace companions {

/// The station itself; the command line can name another.
QString stationProgram();
/// That of a board which scripts/board has made ready in the folder.
QString stationOfBoard(const QString& folder);
/// The file system server behind the station's stick.
QString stickProgram();
/// `blkid`, `mount` and `umount` as the station finds them, and its first process.
QString toolsFolder();
/// What a virtual machine starts with.
QString bootFolder();

} // namespace companions
