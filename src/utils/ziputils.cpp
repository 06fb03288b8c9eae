#include "utils/ziputils.h"

#include "storage/archiveaddition.h"
#include "storage/archivedevice.h"
#include "storage/storagefile.h"
#include "storage/zipdirectory.h"
#include "storage/zipextraction.h"

#include <QFile>
#include <QFileInfo>
#include <quazip/quazip.h>
#include <quazip/quazipfile.h>

#include <cstdio>
#include <fcntl.h>
#include <optional>
#include <zlib.h>

namespace {

constexpr int kDeflateLevel = 6;
/// The largest hash table, 128 KiB more in all: fewer false candidates for a match in noisy data.
constexpr int kDeflateMemoryLevel = MAX_MEM_LEVEL;
/// A size of 32 bits in the entry's header; the last value is taken for the 64-bit form.
constexpr qint64 kMaxEntryBytes = 0xFFFFFFFE;
/// A length of 16 bits, to which the library cuts without a word.
constexpr int kMaxNameBytes = 0xFFFF;

/// In the archive's own folder, for a rename to replace the archive in one step. Hidden: a draft
/// that a loss of power leaves there is not taken for a data file.
QString draftPath(const QString& zipPath)
{
    const QFileInfo info(zipPath);
    return info.path() + QStringLiteral("/.") + info.fileName() + QStringLiteral(".new");
}

bool writeDraft(const QString& draft)
{
    const QByteArray bytes = zipdirectory::emptyArchive();
    QFile::remove(draft);
    const UniqueFd fd = storage::createNew(draft);
    return fd && storage::writeAll(fd.get(), bytes.constData(), bytes.size()) &&
           storage::syncFile(fd.get());
}

bool replaceDurably(const QString& from, const QString& to)
{
    return std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) ==
               0 &&
           storage::syncFolderOf(to);
}

/// Nothing when the directory is damaged: an addition would be made on top of the damage.
std::optional<QStringList> entryNames(int archive)
{
    const auto entries = zipdirectory::read(archive);
    if (!entries)
        return std::nullopt;
    QStringList names;
    names.reserve(entries->size());
    for (const ZipEntry& entry : *entries)
        names.append(QString::fromUtf8(entry.name));
    return names;
}

/// Empty when no entry can be added under that name.
QString uniqueName(int archive, const QString& entryName)
{
    const auto names = entryNames(archive);
    if (!names || names->size() >= zipdirectory::kMaxEntries)
        return {};
    const QString name = ZipUtils::incFileName(*names, entryName, 0);
    return name.toUtf8().size() <= kMaxNameBytes ? name : QString();
}

/// The format's years start in 1980, and the clock of a station without a network in 1970.
QuaZipNewInfo entryInfo(const QString& name, const QString& filePath)
{
    QuaZipNewInfo info(name, filePath);
    const QDateTime earliest(QDate(1980, 1, 1), QTime(0, 0));
    if (info.dateTime < earliest)
        info.dateTime = earliest;
    return info;
}

bool copyInto(QuaZipFile& entry, int source)
{
    QByteArray block(int(storage::kBlockBytes), Qt::Uninitialized);
    qint64 total = 0;
    for (;;) {
        const qint64 got = storage::readBlock(source, block.data(), block.size());
        total += got;
        if (got < 0 || total > kMaxEntryBytes || entry.write(block.constData(), got) != got)
            return false;
        if (got < block.size())
            return true;
    }
}

bool writeEntry(QuaZip& zip, const QuaZipNewInfo& info, int source)
{
    QuaZipFile entry(&zip);
    if (!entry.open(QIODevice::WriteOnly, info, nullptr, 0, Z_DEFLATED, kDeflateLevel, false,
                    -MAX_WBITS, kDeflateMemoryLevel))
        return false;
    const bool copied = copyInto(entry, source);
    entry.close();
    return copied && entry.getZipError() == ZIP_OK;
}

/// The library writes the directory when it is closed, and tells a failure by its error code alone.
bool appendEntry(ArchiveDevice& device, const QuaZipNewInfo& info, int source)
{
    QuaZip zip(&device);
    zip.setAutoClose(false);
    zip.setUtf8Enabled(true);
    if (!zip.open(QuaZip::mdAdd))
        return false;
    const bool written = writeEntry(zip, info, source);
    zip.close();
    return written && zip.getZipError() == ZIP_OK;
}

bool addUnder(const QString& zipPath, const QString& filePath, const QString& entryName)
{
    ArchiveAddition addition(zipPath);
    if (!addition.begin())
        return false;
    const QString name = uniqueName(addition.descriptor(), entryName);
    if (name.isEmpty())
        return false;
    const UniqueFd source = storage::openRegular(filePath, O_RDONLY);
    if (!source)
        return false;
    // How small a file gets is known only when it has been written, so it counts in full.
    const qint64 file_bytes = storage::sizeOf(source.get());
    if (file_bytes > kMaxEntryBytes || !addition.hasRoomFor(file_bytes))
        return false;
    ArchiveDevice device(addition);
    return device.open(QIODevice::ReadWrite) &&
           appendEntry(device, entryInfo(name, filePath), source.get()) && device.flush() &&
           addition.commit();
}

} // namespace

bool ZipUtils::createZip(const QString& zipPath)
{
    // An archive that still waits to be put back must not be put back over the new one.
    if (!ArchiveAddition::recover())
        return false;
    const QString draft = draftPath(zipPath);
    if (writeDraft(draft) && replaceDurably(draft, zipPath))
        return true;
    QFile::remove(draft);
    return false;
}

bool ZipUtils::createZip(const QString& zipPath, const QString& filePath)
{
    if (createZip(zipPath) && addFile(zipPath, filePath))
        return true;
    // Also when it was only the flush that failed: each archive that is of no use takes a number
    // and, in time, the place of one with recordings.
    deleteZip(zipPath);
    return false;
}

bool ZipUtils::deleteZip(const QString& zipPath)
{
    return std::remove(QFile::encodeName(zipPath).constData()) == 0;
}

QStringList ZipUtils::listFiles(const QString& zipPath)
{
    const UniqueFd archive = storage::openRegular(zipPath, O_RDONLY);
    return archive ? entryNames(archive.get()).value_or(QStringList()) : QStringList();
}

bool ZipUtils::addFile(const QString& zipPath, const QString& filePath)
{
    return addUnder(zipPath, filePath, filePath.section(QLatin1Char('/'), -1));
}

bool ZipUtils::addFile(const QString& zipPath, const QString& filePath, const QString& entryName)
{
    return addUnder(zipPath, filePath, entryName);
}

bool ZipUtils::extractZip(const QString& zipPath, const QString& dir)
{
    return ZipExtraction(dir).run(zipPath);
}

QString ZipUtils::incFileName(const QStringList& names, const QString& name, int n)
{
    QString candidate = name;
    for (; names.contains(candidate); ++n) {
        if (n == 0) {
            candidate += QStringLiteral("_0");
        } else {
            candidate.chop(1);
            candidate += QString::number(n);
        }
    }
    return candidate;
}
