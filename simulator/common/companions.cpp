#include "common/companions.h"

#include <QCoreApplication>
#include <QDir>

namespace {

/// Every program of a build folder or an installation lies one folder below its top.
QString belowTop(const QString& path)
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/../") + path);
}

} // namespace

QString companions::path(const char* name)
{
    return belowTop(QStringLiteral(CORVANE_PRIVATE_FOLDER "/") + QLatin1String(name));
}

QString companions::scenarios()
{
    return belowTop(QStringLiteral("share/corvane-simulator/scenarios"));
}

QString companions::stationOfBoard(const QString& folder)
{
    return folder + QStringLiteral("/program/usr/" CORVANE_PRIVATE_FOLDER "/corvane");
}
