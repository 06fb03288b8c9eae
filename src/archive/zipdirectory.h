#pragma once

#include <QByteArray>
#include <QStringList>
#include <QVector>

#include <optional>

/// One entry of an archive as its directory describes it; nothing of it is checked yet.
struct ZipEntry
{
    QByteArray name;
    quint32 crc32 = 0; ///< of the unpacked bytes
    quint64 unpacked_bytes = 0;
    bool encrypted = false;
    /// The type bits (S_IFMT) of the entry's Unix mode; 0 where its writer gave none.
    quint32 unix_type = 0;
};

/// The directory of an archive, read in one piece: every addition needs all names, the library
/// reads a directory byte by byte (fifty times slower at a thousand entries), and past the end of
/// its buffer where a name is longer than 256 bytes. Reentrant; nothing for bytes that are no
/// directory, and for the 64-bit form, which no archive of the station has.
namespace zipdirectory {

/// Counts of 65535 and more, like sizes past 4 GiB, need the 64-bit form.
constexpr int kMaxEntries = 65534;

/// Where the directory lies in an archive.
struct Extent
{
    qint64 offset = 0;
    qint64 bytes = 0;
    int entry_count = 0;
};

/// Finds the end record in the last bytes of a file of `fileBytes`.
std::optional<Extent> locate(const QByteArray& lastBytes, qint64 fileBytes);

std::optional<QVector<ZipEntry>> parse(const QByteArray& directory, int entryCount);

/// Both of the above on an open archive.
std::optional<Extent> find(int fd);
std::optional<QVector<ZipEntry>> read(int fd);

/// Names as text, in the directory's order.
QStringList names(const QVector<ZipEntry>& entries);

/// The 22 bytes of an archive without entries.
QByteArray emptyArchive();

} // namespace zipdirectory
