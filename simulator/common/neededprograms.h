#pragma once

#include <QString>

/// Throws BadInput, with the Debian package to install, when the program is not there.
void needProgram(const QString& program, const QString& debian_package);

/// The same for each of the system's programs that the bench will want, but for the emulator.
void needPrograms(bool machine);
