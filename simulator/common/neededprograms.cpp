#include "common/neededprograms.h"

#include "common/badinput.h"

#include <QStandardPaths>

void needProgram(const QString& program, const QString& debian_package)
{
    if (QStandardPaths::findExecutable(program).isEmpty())
        throw BadInput(QStringLiteral("%1 is not installed: it is in the Debian package %2")
                           .arg(program, debian_package));
}
