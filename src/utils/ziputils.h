#pragma once

#include "archive/additionresult.h"

#include <QString>
#include <QStringList>

/// The station's operations on zip archives. No state; each call opens and closes the archive, on
/// the caller's thread; no two threads may work on one archive, and additions are made one at a
/// time. Failure is false or an empty list, and leaves the archive as it was.
class ZipUtils
{
public:
    /// Makes an empty archive, in place of any other of that name. True when it is on the storage.
    static bool createZip(const QString& zipPath);
    /// With the file as its first entry; in one step, as above.
    static bool createZip(const QString& zipPath, const QString& filePath);

    static bool deleteZip(const QString& zipPath);

    /// Entry names in the archive's order; empty when the archive cannot be read whole.
    static QStringList listFiles(const QString& zipPath);

    /// Adds the file under its base name, made unique by incFileName(). True only when the data and
    /// its directory entry are on the storage.
    static bool addFile(const QString& zipPath, const QString& filePath);
    static bool addFile(const QString& zipPath, const QString& filePath, const QString& entryName);

    /// As addFile, for a file whose bytes are known to have this CRC-32; the entry's own must be
    /// it.
    static AdditionResult addRecording(const QString& zipPath, const QString& filePath,
                                       quint32 crc32);
    static AdditionResult addRecording(const QString& zipPath, const QString& filePath,
                                       const QString& entryName, quint32 crc32);

    /// All entries, or none: see ZipExtraction for what is refused.
    static bool extractZip(const QString& zipPath, const QString& dir);

    /// The first of name, name_0, name_1 ... that is not in `names`, counting from `n`. Only one
    /// character makes way for the next number, so _10 is followed by _111: deliberate, as every
    /// archive in the field is numbered so.
    static QString incFileName(const QStringList& names, const QString& name, int n);
};
