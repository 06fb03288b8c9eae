#include "common/companions.h"

#include <QCoreApplication>
#include <QDir>

/// Every program of a build folder or an installation lies one folder below its top.
QString companions::path(const char* name)
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath() +
                           QStringLiteral("/../" CORVANE_PRIVATE_FOLDER "/") + QLatin1String(name));
}

QString companions::stationOfBoard(const QString& folder)
{
    return folder + QStringLiteral("/program/usr/" CORVANE_PRIVATE_FOLDER "/corvane");
}
