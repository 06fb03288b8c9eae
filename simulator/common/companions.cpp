#include "common/companions.h"

#include <QCoreApplication>
#include <QDir>

namespace {

/// Every program of a build folder or an installation lies one folder below its top.
QString below(const QString& name)
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath() +
                           QStringLiteral("/../" CORVANE_PRIVATE_FOLDER "/") + name);
}

} // namespace

QString companions::stationProgram()
{
    return below(QStringLiteral("corvane"));
}

QString companions::stationOfBoard(const QString& folder)
{
    return folder + QStringLiteral("/program/usr/" CORVANE_PRIVATE_FOLDER "/corvane");
}

QString companions::stickProgram()
{
    return below(QStringLiteral("corvane-stick"));
}

QString companions::toolsFolder()
{
    return below(QStringLiteral("tools"));
}

QString companions::bootFolder()
{
    return below(QStringLiteral("boot"));
}
