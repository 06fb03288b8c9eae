#include "archives/stickcheck.h"

#include "archives/backupcheck.h"

#include <QDir>

std::vector<ArchiveEntry> readSticks(const QStringList& folders)
{
    std::vector<ArchiveEntry> entries;
    const auto add = [&entries](const std::vector<ArchiveEntry>& more) {
        entries.insert(entries.end(), more.begin(), more.end());
    };
    QStringList unreadable;
    for (const QString& folder : folders) {
        for (const QString& archive : archivesOnStick(folder))
            add(readArchive(archive, unreadable));
        add(readBackedUpArchives(QDir(folder).filePath(QStringLiteral("backup.zip"))));
    }
    return entries;
}

QStringList archivesOnStick(const QString& folder)
{
    QStringList paths;
    for (const QFileInfo& file : QDir(folder).entryInfoList({QStringLiteral("*.cvx")}, QDir::Files))
        paths += file.filePath();
    return paths;
}

QStringList undelivered(const std::vector<KnownRecording>& recordings,
                        const std::vector<ArchiveEntry>& on_sticks)
{
    QStringList lines;
    for (const KnownRecording& recording : recordings)
        if (!holdsRecording(on_sticks, recording))
            lines += QStringLiteral("%1 of slot %2 is on no stick")
                         .arg(recording.name)
                         .arg(recording.slot);
    return lines;
}
