#include "window/scenariolist.h"

#include <QDir>
#include <QDirIterator>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

QString nameIn(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(file.readAll()).object().value(QLatin1String("name")).toString();
}

} // namespace

QVariantList scenarioList(const QString& folder)
{
    QStringList paths;
    QDirIterator files(folder, {QStringLiteral("*.json")}, QDir::Files,
                       QDirIterator::Subdirectories | QDirIterator::FollowSymlinks);
    while (files.hasNext())
        paths += files.next();
    paths.sort();
    QVariantList list;
    for (const QString& path : paths) {
        const QString name = nameIn(path);
        const QString below = QDir(folder).relativeFilePath(path);
        if (!name.isEmpty())
            list += QVariantMap{{QStringLiteral("file"), path},
                                {QStringLiteral("short"), below.chopped(5)},
                                {QStringLiteral("name"), name}};
    }
    return list;
}
