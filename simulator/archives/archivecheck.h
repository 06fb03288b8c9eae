#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

/// One file in an archive, read to its end.
struct ArchiveEntry
{
    QString name;
    QByteArray sha256; ///< empty when it cannot be read whole
};

/// A recording that a pod of the bench brought.
struct KnownRecording
{
    int slot;
    QString name; ///< as the station files it
    quint32 size_bytes;
    QByteArray sha256;
};

/// SHA-256 of the whole file; empty when it cannot be read.
QByteArray fileDigest(const QString& path);

/// In the archive's order. An archive that cannot be opened adds to `problems`.
std::vector<ArchiveEntry> readArchive(const QString& path, QStringList& problems);

/// What the archive's file of that name holds; empty when it cannot be read.
QByteArray readEntry(const QString& path, const QString& name);

/// The recording whole and under its name, or under the name that a second one of a pod gets.
bool holdsRecording(const std::vector<ArchiveEntry>& entries, const KnownRecording& recording);

/// What is wrong with an export, one line each: the information file not first, a required
/// recording missing or damaged, an entry that is none of the known recordings.
QStringList checkArchive(const std::vector<ArchiveEntry>& entries,
                         const std::vector<KnownRecording>& required,
                         const std::vector<KnownRecording>& known);
