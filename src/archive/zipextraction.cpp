#include "archive/zipextraction.h"

#include "system/checksum.h"
#include "system/storagefile.h"

#include <QDir>
#include <QSet>
#include <QTextCodec>
#include <quazip/quazipfile.h>

#include <sys/stat.h>

#include <algorithm>
#include <fcntl.h>

namespace {

constexpr int kMaxNameBytes = 255;
constexpr int kMaxPathBytes = 1024;

bool isUtf8(const QByteArray& bytes)
{
    QTextCodec::ConverterState state;
    const QTextCodec* codec = QTextCodec::codecForName("UTF-8");
    codec->toUnicode(bytes.constData(), bytes.size(), &state);
    return state.invalidChars == 0 && state.remainingChars == 0;
}

bool isProperName(const QByteArray& name)
{
    return !name.isEmpty() && name.size() <= kMaxNameBytes && name != "." && name != "..";
}

bool isFolder(const ZipEntry& entry)
{
    return entry.name.endsWith('/');
}

bool isAcceptable(const ZipEntry& entry)
{
    const quint32 expected = isFolder(entry) ? S_IFDIR : S_IFREG;
    return ZipExtraction::isPlainPath(entry.name) && !entry.encrypted &&
           (entry.unix_type == 0 || entry.unix_type == expected) &&
           entry.unpacked_bytes <= quint64(ZipExtraction::kMaxUnpackedBytes);
}

bool areAcceptable(const QVector<ZipEntry>& entries)
{
    QSet<QByteArray> names;
    return std::all_of(entries.cbegin(), entries.cend(), [&names](const ZipEntry& entry) {
        const int before = names.size();
        names.insert(entry.name);
        return names.size() > before && isAcceptable(entry);
    });
}

} // namespace

bool ZipExtraction::isPlainPath(const QByteArray& name)
{
    // A backslash parts folders for some writers of zips.
    if (name.size() > kMaxPathBytes || name.contains('\0') || name.contains('\\') || !isUtf8(name))
        return false;
    const QByteArray path = name.endsWith('/') ? name.chopped(1) : name;
    const QList<QByteArray> parts = path.split('/');
    return std::all_of(parts.cbegin(), parts.cend(), isProperName);
}

bool ZipExtraction::run(const QString& zipPath)
{
    const UniqueFd archive = storage::openRegular(zipPath, O_RDONLY);
    const auto entries = archive ? zipdirectory::read(archive.get()) : std::nullopt;
    if (!entries || entries->size() > kMaxEntries || !areAcceptable(*entries))
        return false;
    if (QDir().mkpath(m_target) && unpackAll(archive.get(), *entries))
        return true;
    removeAllMade();
    return false;
}

bool ZipExtraction::unpackAll(int archive, const QVector<ZipEntry>& entries)
{
    // The library takes an archive without entries for none at all.
    if (entries.isEmpty())
        return true;
    QFile file;
    QuaZip zip(&file);
    if (!file.open(archive, QIODevice::ReadOnly) || !zip.open(QuaZip::mdUnzip) ||
        !zip.goToFirstFile())
        return false;
    for (int i = 0; i < entries.size(); ++i) {
        const bool there = i == 0 || zip.goToNextFile();
        if (!there || !unpack(zip, entries.at(i)))
            return false;
    }
    return true;
}

bool ZipExtraction::unpack(QuaZip& zip, const ZipEntry& entry)
{
    const QString path = QString::fromUtf8(entry.name);
    return makeFolders(path) &&
           (isFolder(entry) || unpackFile(zip, entry, m_target + QLatin1Char('/') + path));
}

bool ZipExtraction::unpackFile(QuaZip& zip, const ZipEntry& promised, const QString& path)
{
    // An older file of that name, or a link, is replaced and never written through.
    QFile::remove(path);
    const UniqueFd target = storage::createNew(path);
    if (!target)
        return false;
    m_made_files.append(path);
    QuaZipFile entry(&zip);
    if (!entry.open(QIODevice::ReadOnly) || !copyOut(entry, promised, target.get()))
        return false;
    entry.close();
    return entry.getZipError() == UNZ_OK;
}

/// The library compares the checksum of an entry only once that is as long as its header says.
bool ZipExtraction::copyOut(QIODevice& entry, const ZipEntry& promised, int target)
{
    const qint64 end_bytes = m_unpacked_bytes + qint64(promised.unpacked_bytes);
    Checksum checksum;
    QByteArray block(int(storage::kBlockBytes), Qt::Uninitialized);
    qint64 got = 0;
    while ((got = entry.read(block.data(), block.size())) > 0) {
        checksum.add(block.constData(), got);
        m_unpacked_bytes += got;
        if (m_unpacked_bytes > kMaxUnpackedBytes ||
            !storage::writeAll(target, block.constData(), got))
            return false;
    }
    return got == 0 && m_unpacked_bytes == end_bytes && checksum.value() == promised.crc32;
}

bool ZipExtraction::makeFolders(const QString& relativePath)
{
    for (int slash = relativePath.indexOf(QLatin1Char('/')); slash >= 0;
         slash = relativePath.indexOf(QLatin1Char('/'), slash + 1)) {
        const QString folder = m_target + QLatin1Char('/') + relativePath.left(slash);
        if (QDir().mkdir(folder))
            m_made_folders.append(folder);
        else if (!QDir(folder).exists())
            return false;
    }
    return true;
}

void ZipExtraction::removeAllMade()
{
    for (const QString& file : qAsConst(m_made_files))
        QFile::remove(file);
    for (auto folder = m_made_folders.crbegin(); folder != m_made_folders.crend(); ++folder)
        QDir().rmdir(*folder);
}
