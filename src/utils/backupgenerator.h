#pragma once

#include <QString>
#include <QStringList>

class OwedArchives;

/// Packs the local data archives into one backup of bounded size, and deletes them once it is safe
/// elsewhere. No state; works on "datas" in the working directory, on the controller thread, while
/// nothing is added to an archive.
class BackupGenerator
{
public:
    static constexpr qint64 kMaxBackupBytes = 500'000'000;

    struct Backup
    {
        bool complete = true; ///< else nothing may be deleted on the strength of it
        QStringList archives; ///< the names of those that are in it
    };

    /// Newest archive first, as "datas_1.cvx", "datas_2.cvx"... until the backup has that many
    /// bytes. Incomplete when an archive that was to be in it could not be added; the others are.
    static Backup generateBackup(const QString& backupPath, qint64 maxBytes = kMaxBackupBytes);

    /// Deletes all archives but the newest, and "backup.zip". Deliberately also those that the
    /// bounded backup had no room for, unless no stick has them yet.
    static void deleteBackedUpFiles(const OwedArchives& owed);

    /// Gives back the room of a backup that failed or was cut short: the archives are all there.
    static void discardBackup();
};
