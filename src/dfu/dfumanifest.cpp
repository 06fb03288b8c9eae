#include "dfu/dfumanifest.h"

#include "archive/zipextraction.h"
#include "dfu/dfuinvalidupdatefile.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace {

QString fileName(const QJsonObject& image, QLatin1String key)
{
    QString name = image.value(key).toString();
    const bool inside = ZipExtraction::isPlainPath(name.toUtf8()) && !name.contains(u'/');
    if (!name.isEmpty() && !inside)
        throw DfuInvalidUpdateFile("Invalid update file");
    return name;
}

} // namespace

DfuManifest DfuManifest::parse(const QByteArray& json)
{
    const QJsonObject manifest =
        QJsonDocument::fromJson(json).object().value(QLatin1String("manifest")).toObject();
    // A package is meant to carry one image; of several, the first in this order is the one.
    for (const char* kind : {"application", "softdevice", "bootloader"}) {
        const auto found = manifest.constFind(QLatin1String(kind));
        if (found == manifest.constEnd())
            continue;
        const QJsonObject image = found->toObject();
        return {fileName(image, QLatin1String("bin_file")),
                fileName(image, QLatin1String("dat_file"))};
    }
    throw DfuInvalidUpdateFile("Invalid update file");
}
