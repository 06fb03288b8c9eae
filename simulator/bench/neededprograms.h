#pragma once

/// Throws BadInput, with the Debian package to install, for the first of the system's programs that
/// the bench will want and that is not there.
void needPrograms(bool machine);
