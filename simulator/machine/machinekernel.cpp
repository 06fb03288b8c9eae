#include "machine/machinekernel.h"

#include "bench/badinput.h"

#include <QCollator>
#include <QDir>

#include <algorithm>

MachineKernel MachineKernel::installed()
{
    const QString prefix = QStringLiteral("vmlinuz-");
    QStringList names =
        QDir(QStringLiteral("/boot")).entryList({prefix + QLatin1Char('*')}, QDir::Files);
    QCollator by_number;
    by_number.setNumericMode(true);
    std::sort(names.begin(), names.end(), by_number);
    while (!names.isEmpty()) {
        const QString name = names.takeLast();
        const QString version = name.mid(prefix.size());
        if (QDir(QStringLiteral("/lib/modules/") + version).exists())
            return {QStringLiteral("/boot/") + name, version};
    }
    throw BadInput(
        QStringLiteral("no kernel is installed in /boot; the package linux-image-amd64 has one"));
}
