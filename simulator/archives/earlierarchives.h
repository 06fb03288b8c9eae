#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

/// How many data archives the station has from earlier days, and how large each one's recording is.
struct EarlierPlan
{
    int count = 0;
    quint32 size_bytes = 65536;
};

/// A data archive as it was before the station started.
struct KnownArchive
{
    QString name;
    QByteArray sha256; ///< of the file
};

/// Makes them in the folder, "0000000000.cvx" first, each of the information file and one recording
/// that follows from the seed. The recordings are stored as they are: an archive is their size and
/// some 300 bytes. Throws BadInput when one cannot be written.
std::vector<KnownArchive> makeEarlierArchives(const QString& folder, const EarlierPlan& plan,
                                              quint64 bench_seed);
