#pragma once

#include "archive/zipdirectory.h"

#include <QStringList>

#include <utility>

class QIODevice;
class QuaZip;

/// Unpacks one archive from a stranger's stick into a folder of ours. Refused as a whole: links and
/// other special entries, encrypted ones, names that are not plain paths below the folder or that
/// occur twice, too many entries, too many bytes (counted while unpacking, whatever the header
/// says), and any whose bytes are not as many, or of the checksum, that the directory names. Lives
/// on the stack of one call; after a failure nothing it made is left.
class ZipExtraction
{
public:
    explicit ZipExtraction(QString targetFolder)
        : m_target(std::move(targetFolder))
    {
    }

    bool run(const QString& zipPath);

    /// True for a relative path of proper names in valid UTF-8; a folder's ends with a slash.
    static bool isPlainPath(const QByteArray& name);

    static constexpr int kMaxEntries = 64;
    static constexpr qint64 kMaxUnpackedBytes = qint64(64) * 1024 * 1024;

private:
    bool unpackAll(int archive, const QVector<ZipEntry>& entries);
    bool unpack(QuaZip& zip, const ZipEntry& entry);
    bool unpackFile(QuaZip& zip, const ZipEntry& promised, const QString& path);
    bool copyOut(QIODevice& entry, const ZipEntry& promised, int target);
    bool makeFolders(const QString& relativePath);
    void removeAllMade();

    QString m_target;
    QStringList m_made_files;
    QStringList m_made_folders;
    qint64 m_unpacked_bytes = 0;
};
