#include "utils/ziputils.h"

#include "archive/archiveaddition.h"
#include "archive/archivedevice.h"
#include "archive/deflateplan.h"
#include "archive/zipdirectory.h"
#include "archive/zipextraction.h"
#include "system/storagefile.h"

#include <QFile>
#include <QFileInfo>
#include <quazip/quazip.h>
#include <quazip/quazipfile.h>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <optional>
#include <zlib.h>

namespace {

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

QString baseName(const QString& path)
{
    return path.section(QLatin1Char('/'), -1);
}

/// Made unique among the archive's entries; empty when there is no room for one more.
QString uniqueName(const QVector<ZipEntry>& entries, const QString& entryName)
{
    if (entries.size() >= zipdirectory::kMaxEntries)
        return {};
    const QString name = ZipUtils::incFileName(zipdirectory::names(entries), entryName, 0);
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
    const DeflatePlan plan = DeflatePlan::forFile(source);
    if (!entry.open(QIODevice::WriteOnly, info, nullptr, 0, Z_DEFLATED, plan.level, false,
                    -MAX_WBITS, kDeflateMemoryLevel, plan.strategy))
        return false;
    const bool copied = copyInto(entry, source);
    entry.close();
    return copied && entry.getZipError() == ZIP_OK;
}

/// The library writes the directory when it is closed, and tells a failure by its error code alone.
bool writeArchive(QIODevice& device, QuaZip::Mode mode, const QuaZipNewInfo& info, int source)
{
    QuaZip zip(&device);
    zip.setAutoClose(false);
    zip.setUtf8Enabled(true);
    if (!zip.open(mode))
        return false;
    const bool written = writeEntry(zip, info, source);
    zip.close();
    return written && zip.getZipError() == ZIP_OK;
}

bool writeFirstEntry(int fd, const QString& filePath)
{
    const UniqueFd source = storage::openRegular(filePath, O_RDONLY);
    QFile device;
    return source && device.open(fd, QIODevice::ReadWrite) &&
           writeArchive(device, QuaZip::mdCreate, entryInfo(baseName(filePath), filePath),
                        source.get()) &&
           device.flush();
}

/// The content of a new archive, on the storage; without entries where no file is named.
bool writeDraft(const QString& draft, const QString& filePath)
{
    const QByteArray empty = zipdirectory::emptyArchive();
    QFile::remove(draft);
    const UniqueFd fd = storage::createNew(draft);
    const bool written =
        fd && (filePath.isEmpty() ? storage::writeAll(fd.get(), empty.constData(), empty.size())
                                  : writeFirstEntry(fd.get(), filePath));
    return written && storage::syncFile(fd.get());
}

enum class Made { Yes, No, NotFlushed };

/// In one step: a loss of power leaves either what was there before or a whole archive.
Made makeArchive(const QString& zipPath, const QString& filePath)
{
    const QString draft = draftPath(zipPath);
    if (ArchiveAddition::recoverForNew() && writeDraft(draft, filePath))
        return storage::replaceFile(draft, zipPath) ? Made::Yes : Made::NotFlushed;
    QFile::remove(draft);
    return Made::No;
}

AdditionResult write(ArchiveAddition& addition, const QString& name, const QString& filePath,
                     const std::optional<quint32>& crc32)
{
    const UniqueFd source = storage::openRegular(filePath, O_RDONLY);
    // How small a file gets is known only when it has been written, so it counts in full.
    const qint64 file_bytes = source ? storage::sizeOf(source.get()) : -1;
    if (file_bytes < 0)
        return AdditionResult::of(AdditionResult::Failed);
    if (file_bytes > kMaxEntryBytes || !addition.hasRoomFor(file_bytes))
        return {AdditionResult::ArchiveFull};
    ArchiveDevice device(addition);
    const bool written =
        device.open(QIODevice::ReadWrite) &&
        writeArchive(device, QuaZip::mdAdd, entryInfo(name, filePath), source.get()) &&
        device.flush();
    return written ? addition.commit(crc32) : addition.failure();
}

AdditionResult addUnder(const QString& zipPath, const QString& filePath, const QString& entryName,
                        const std::optional<quint32>& crc32)
{
    if (entryName.isEmpty())
        return {AdditionResult::Failed, EINVAL};
    ArchiveAddition addition(zipPath);
    const AdditionResult begun = addition.begin();
    if (!begun.added())
        return begun;
    const QString name = uniqueName(addition.entries(), entryName);
    if (name.isEmpty())
        return {AdditionResult::ArchiveFull};
    return write(addition, name, filePath, crc32);
}

} // namespace

bool ZipUtils::createZip(const QString& zipPath)
{
    return makeArchive(zipPath, {}) == Made::Yes;
}

bool ZipUtils::createZip(const QString& zipPath, const QString& filePath)
{
    const Made made = makeArchive(zipPath, filePath);
    // Each archive that is of no use takes a number and, in time, the place of one with recordings.
    if (made == Made::NotFlushed)
        deleteZip(zipPath);
    return made == Made::Yes;
}

bool ZipUtils::deleteZip(const QString& zipPath)
{
    return std::remove(QFile::encodeName(zipPath).constData()) == 0;
}

QStringList ZipUtils::listFiles(const QString& zipPath)
{
    const UniqueFd archive = storage::openRegular(zipPath, O_RDONLY);
    const auto entries = archive ? zipdirectory::read(archive.get()) : std::nullopt;
    return entries ? zipdirectory::names(*entries) : QStringList();
}

bool ZipUtils::addFile(const QString& zipPath, const QString& filePath)
{
    return addFile(zipPath, filePath, baseName(filePath));
}

bool ZipUtils::addFile(const QString& zipPath, const QString& filePath, const QString& entryName)
{
    return addUnder(zipPath, filePath, entryName, std::nullopt).added();
}

AdditionResult ZipUtils::addRecording(const QString& zipPath, const QString& filePath,
                                      quint32 crc32)
{
    return addRecording(zipPath, filePath, baseName(filePath), crc32);
}

AdditionResult ZipUtils::addRecording(const QString& zipPath, const QString& filePath,
                                      const QString& entryName, quint32 crc32)
{
    return addUnder(zipPath, filePath, entryName, crc32);
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
