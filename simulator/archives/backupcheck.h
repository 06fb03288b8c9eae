#pragma once

#include "archives/archivecheck.h"
#include "archives/earlierarchives.h"

/// What is wrong with the station's archives of earlier days, one line each. Each must be
/// as it was in the folder `local`, where a new one may bear its name, or whole among the entries
/// of the stick's backup; only those in `erased` may be nowhere.
QStringList checkEarlierArchives(const std::vector<KnownArchive>& earlier, const QString& local,
                                 const std::vector<ArchiveEntry>& backup,
                                 const QStringList& erased);

/// The backup holds exactly the named earlier archives, in this order, under the station's names;
/// "new" stands for one that the station has begun since.
QStringList checkBackup(const std::vector<ArchiveEntry>& backup, const QStringList& expected,
                        const std::vector<KnownArchive>& earlier);

/// Everything in the archives that the backup holds.
std::vector<ArchiveEntry> readBackedUpArchives(const QString& backup);
