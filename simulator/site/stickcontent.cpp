#include "site/stickcontent.h"

#include "common/badinput.h"
#include "common/files.h"
#include "common/tool.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

bool isThere(const QString& path)
{
    const QFileInfo info(path);
    return info.isSymLink() || info.exists();
}

bool makeItem(const StickItem& item, const QString& path)
{
    switch (item.kind) {
    case StickItem::Kind::Text:
        writeFile(path, item.text.toUtf8());
        return true;
    case StickItem::Kind::Sparse:
        writeFile(path, {});
        return QFile::resize(path, static_cast<qint64>(item.size_bytes));
    case StickItem::Kind::Unreadable:
        writeFile(path, "never to be read");
        return true;
    case StickItem::Kind::Folder:
        return QDir().mkpath(path);
    case StickItem::Kind::Link:
        return QFile::link(item.text, path);
    }
    return false;
}

} // namespace

void fillStick(const QString& folder, const StickPlan& plan)
{
    if (!plan.folder.isEmpty())
        runTool(QStringLiteral("cp"),
                {QStringLiteral("-a"), QStringLiteral("--remove-destination"), QStringLiteral("--"),
                 plan.folder + QStringLiteral("/."), folder});
    for (const StickItem& item : plan.items) {
        const QString path = folder + QLatin1Char('/') + item.name;
        if (isThere(path))
            QFileInfo(path).isDir() ? QDir(path).removeRecursively() : QFile::remove(path);
        if (!makeItem(item, path))
            throw BadInput(QStringLiteral("cannot put '%1' on the stick").arg(item.name));
    }
}
