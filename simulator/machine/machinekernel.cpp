#include "machine/machinekernel.h"

#include "common/badinput.h"
#include "machine/computer.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QVersionNumber>

#include <algorithm>

namespace {

const QString kPrefix = QStringLiteral("vmlinuz-");

/// Of the machine's root, and of what hangs on it.
const QSet<QString>& neededDrivers()
{
    static const QSet<QString> names{
        QStringLiteral("9pnet_virtio"), QStringLiteral("overlay"),
        QStringLiteral("ext4"),         QStringLiteral("virtio_blk"),
        QStringLiteral("virtio-gpu"),   QStringLiteral("virtio_input"),
        QStringLiteral("evdev"),        QStringLiteral("virtio_console"),
        QStringLiteral("xhci-pci"),     QStringLiteral("cdc-acm"),
        QStringLiteral("usb-storage"),  QStringLiteral("vfat"),
        QStringLiteral("i2c-tiny-usb"), QStringLiteral("i2c-dev")};
    return names;
}

/// As their files are called, which may be compressed.
QSet<QString> driversOf(const QString& folder)
{
    QSet<QString> names;
    for (const char* list : {"/modules.dep", "/modules.builtin"}) {
        QFile file(folder + QLatin1String(list));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        for (const QByteArray& line : file.readAll().split('\n'))
            names += QFileInfo(QString::fromUtf8(line.split(':').first())).baseName();
    }
    return names;
}

/// The numbers in front: of 6.1.0-56-amd64 these are 6, 1, 0 and 56.
QVersionNumber numbersOf(QString version)
{
    return QVersionNumber::fromString(version.replace(QLatin1Char('-'), QLatin1Char('.')));
}

} // namespace

MachineKernel MachineKernel::installed(const Computer& computer)
{
    const QString boot = QDir(computer.root).filePath(QStringLiteral("boot"));
    const QString modules = QDir(computer.root).filePath(QStringLiteral("lib/modules"));
    QStringList versions;
    for (const QString& name :
         QDir(boot).entryList({kPrefix + QLatin1Char('*')}, QDir::Files | QDir::Readable))
        versions += name.mid(kPrefix.size());
    std::sort(versions.begin(), versions.end(), [](const QString& one, const QString& other) {
        return numbersOf(one) > numbersOf(other);
    });
    for (const QString& version : versions)
        if (driversOf(QDir(modules).filePath(version)).contains(neededDrivers()))
            return {QDir(boot).filePath(kPrefix + version), version};
    throw BadInput(QStringLiteral("%1 has no kernel with all drivers that the machine needs; the "
                                  "Debian package %2 has one")
                       .arg(boot, computer.kernel_package));
}
