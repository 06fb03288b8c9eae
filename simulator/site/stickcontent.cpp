#include "site/stickcontent.h"

#include "common/badinput.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace {

bool isThere(const QString& path)
{
    const QFileInfo info(path);
    return info.isSymLink() || info.exists();
}

bool writeFile(const QString& path, const QByteArray& text, quint64 size_bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size() &&
           (size_bytes == 0 || file.resize(static_cast<qint64>(size_bytes)));
}

bool makeItem(const StickItem& item, const QString& path)
{
    switch (item.kind) {
    case StickItem::Kind::Text:
        return writeFile(path, item.text.toUtf8(), 0);
    case StickItem::Kind::Sparse:
        return writeFile(path, {}, item.size_bytes);
    case StickItem::Kind::Unreadable:
        return writeFile(path, "never to be read", 0);
    case StickItem::Kind::Folder:
        return QDir().mkpath(path);
    case StickItem::Kind::Link:
        return QFile::link(item.text, path);
    }
    return false;
}

bool copyTree(const QString& from, const QString& to);

bool copyEntry(const QFileInfo& entry, const QString& target)
{
    if (isThere(target) && !QFileInfo(target).isDir() && !QFile::remove(target))
        return false;
    if (entry.isSymLink())
        return QFile::link(QFile(entry.filePath()).symLinkTarget(), target);
    if (entry.isDir())
        return copyTree(entry.filePath(), target);
    return QFile::copy(entry.filePath(), target);
}

bool copyTree(const QString& from, const QString& to)
{
    if (!QFileInfo(from).isDir() || !QDir().mkpath(to))
        return false;
    const QFileInfoList entries = QDir(from).entryInfoList(QDir::Files | QDir::Dirs | QDir::Hidden |
                                                           QDir::System | QDir::NoDotAndDotDot);
    return std::all_of(entries.begin(), entries.end(), [&to](const QFileInfo& entry) {
        return copyEntry(entry, to + QLatin1Char('/') + entry.fileName());
    });
}

} // namespace

void fillStick(const QString& folder, const StickPlan& plan)
{
    if (!plan.folder.isEmpty() && !copyTree(plan.folder, folder))
        throw BadInput(QStringLiteral("cannot copy %1 to the stick").arg(plan.folder));
    for (const StickItem& item : plan.items) {
        const QString path = folder + QLatin1Char('/') + item.name;
        if (isThere(path))
            QFileInfo(path).isDir() ? QDir(path).removeRecursively() : QFile::remove(path);
        if (!makeItem(item, path))
            throw BadInput(QStringLiteral("cannot put '%1' on the stick").arg(item.name));
    }
}
