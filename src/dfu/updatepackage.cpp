#include "dfu/updatepackage.h"

#include "system/stationpaths.h"
#include "utils/ziputils.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>

namespace {

const QString kManifest = QStringLiteral("manifest.json");

} // namespace

bool UpdatePackage::unpack(const QString& zipPath)
{
    // Whatever has that name is not the station's: its own went with the start.
    if (QFileInfo::exists(stationpaths::kFirmware) ||
        !ZipUtils::extractZip(zipPath, stationpaths::kFirmware)) {
        qInfo() << "Failed to unzip firmware";
        return false;
    }
    QDir folder(stationpaths::kFirmware);
    const QStringList files =
        folder.entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Unsorted);
    const bool has_manifest = files.contains(kManifest);
    qDebug() << files.size() << has_manifest;
    // Exactly manifest, init packet and image: a package with more is deliberately refused.
    if (files.size() == 3 && has_manifest) {
        qInfo() << "New firmware on usbkey";
        return true;
    }
    qInfo() << "Invalid update package";
    // Or a pod that is plugged in in its bootloader would be given what was just refused.
    folder.removeRecursively();
    return false;
}

QString UpdatePackage::pathOf(const QString& name)
{
    return stationpaths::kFirmware + QLatin1Char('/') + name;
}

QString UpdatePackage::manifestPath()
{
    return pathOf(kManifest);
}
