#include "archives/backupcheck.h"

#include <QFileInfo>
#include <QTemporaryDir>
#include <quazip/JlCompress.h>

#include <algorithm>

namespace {

bool backedUp(const KnownArchive& archive, const std::vector<ArchiveEntry>& backup)
{
    return std::any_of(backup.begin(), backup.end(), [&archive](const ArchiveEntry& entry) {
        return entry.sha256 == archive.sha256;
    });
}

QByteArray digestOf(const QString& name, const std::vector<KnownArchive>& earlier)
{
    const auto found = std::find_if(earlier.begin(), earlier.end(),
                                    [&name](const KnownArchive& one) { return one.name == name; });
    return found == earlier.end() ? QByteArray() : found->sha256;
}

} // namespace

QStringList checkEarlierArchives(const std::vector<KnownArchive>& earlier, const QString& local,
                                 const std::vector<ArchiveEntry>& backup, const QStringList& erased)
{
    QStringList problems;
    for (const KnownArchive& archive : earlier) {
        const QString path = local + QLatin1Char('/') + archive.name;
        if (fileDigest(path) == archive.sha256 || erased.contains(archive.name) ||
            backedUp(archive, backup))
            continue;
        problems += (QFileInfo::exists(path)
                         ? QStringLiteral("LOST: %1 is not what it was, and in no backup")
                         : QStringLiteral("LOST: %1 is gone and in no backup"))
                        .arg(archive.name);
    }
    return problems;
}

QStringList checkBackup(const std::vector<ArchiveEntry>& backup, const QStringList& expected,
                        const std::vector<KnownArchive>& earlier)
{
    QStringList problems;
    if (static_cast<int>(backup.size()) != expected.size())
        problems += QStringLiteral("the backup has %1 entries, not %2")
                        .arg(backup.size())
                        .arg(expected.size());
    for (int i = 0; i < std::min(static_cast<int>(backup.size()), expected.size()); ++i) {
        const ArchiveEntry& entry = backup[static_cast<std::size_t>(i)];
        const QString name = QStringLiteral("datas_%1.cvx").arg(i + 1);
        if (entry.name != name)
            problems += QStringLiteral("the backup's entry %1 is %2")
                            .arg(QString::number(i + 1), entry.name);
        const bool begun_since = expected.at(i) == QLatin1String("new");
        if (entry.sha256.isEmpty() ||
            (!begun_since && entry.sha256 != digestOf(expected.at(i), earlier)))
            problems += QStringLiteral("the backup's entry %1 is not %2")
                            .arg(QString::number(i + 1), expected.at(i));
    }
    return problems;
}

std::vector<ArchiveEntry> readBackedUpArchives(const QString& backup)
{
    std::vector<ArchiveEntry> entries;
    const QTemporaryDir folder;
    const QString copy = folder.filePath(QStringLiteral("archive.cvx"));
    QStringList unreadable; // what cannot be read holds nothing
    for (const QString& name : JlCompress::getFileList(backup)) {
        if (JlCompress::extractFile(backup, name, copy).isEmpty())
            continue;
        const auto inside = readArchive(copy, unreadable);
        entries.insert(entries.end(), inside.begin(), inside.end());
    }
    return entries;
}
