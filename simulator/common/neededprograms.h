#pragma once

#include <QString>

/// Throws BadInput, with the Debian package to install, when the program is not there.
void needProgram(const QString& program, const QString& debian_package);
