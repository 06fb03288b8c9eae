#pragma once

#include <QString>

/// Packs the local data archives into one backup of bounded size, and deletes them once it is safe
/// elsewhere. No state; works on "datas" in the working directory, on the controller thread, while
/// nothing is added to an archive.
class BackupGenerator
{
public:
    static constexpr qint64 kMaxBackupBytes = 500'000'000;

    /// Newest archive first, as "datas_1.cvx", "datas_2.cvx"... until the backup has that many
    /// bytes. False when an archive that was to be in it could not be added: the others are, but
    /// nothing may be deleted on the strength of it.
    static bool generateBackup(const QString& backupPath, qint64 maxBytes = kMaxBackupBytes);

    /// Deletes all archives but the newest, and "backup.zip". Deliberately also those that the
    /// bounded backup had no room for.
    static void deleteBackedUpFiles();

    /// Gives back the room of a backup that failed or was cut short: the archives are all there.
    static void discardBackup();
};
