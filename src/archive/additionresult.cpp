#include "archive/additionresult.h"

#include <cerrno>
#include <system_error>

AdditionResult AdditionResult::of(Kind kind)
{
    return {kind, errno};
}

bool AdditionResult::isTheArchives() const
{
    // A bad block is where that archive ends; the next one begins elsewhere.
    return kind == ArchiveFull || kind == ArchiveUnusable || kind == NotReadBack ||
           (kind == Failed && error == EIO);
}

QString AdditionResult::reason() const
{
    switch (kind) {
    case Added:
        return QStringLiteral("none");
    case ArchiveFull:
        return QStringLiteral("archive full");
    case ArchiveUnusable:
        return QStringLiteral("archive damaged or gone");
    case FileChanged:
        return QStringLiteral("the data file is not what came from the pod");
    case NotReadBack:
        return QStringLiteral("the storage does not hold what was written");
    case Failed:
        break;
    }
    return QString::fromStdString(std::generic_category().message(error));
}
