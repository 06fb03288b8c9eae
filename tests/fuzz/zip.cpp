// An archive from a stick: it is unpacked as its directory says, below its folder, or leaves
// nothing.
#include "archive/zipdirectory.h"
#include "archive/zipextraction.h"
#include "fuzz/fuzzing.h"
#include "system/storagefile.h"

#include <QDir>
#include <QDirIterator>

#include <fcntl.h>
#include <zlib.h>

using fuzzing::require;

namespace {

const QString kArchive = QStringLiteral("app.zip");
const QString kTarget = QStringLiteral("station/dfu");

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    require(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

void writeArchive(const QByteArray& bytes)
{
    QFile file(kArchive);
    require(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    require(file.write(bytes) == bytes.size());
}

QVector<ZipEntry> directory()
{
    const UniqueFd archive = storage::openRegular(kArchive, O_RDONLY);
    const auto entries = zipdirectory::read(archive.get());
    require(entries.has_value());
    return *entries;
}

/// Returns the file's bytes.
qint64 requireUnpacked(const ZipEntry& entry)
{
    const QString path = kTarget + QLatin1Char('/') + QString::fromUtf8(entry.name);
    if (entry.name.endsWith('/')) {
        require(QFileInfo(path).isDir());
        return 0;
    }
    const QByteArray content = contentOf(path);
    const auto* bytes = reinterpret_cast<const Bytef*>(content.constData());
    require(crc32_z(0, bytes, size_t(content.size())) == entry.crc32);
    require(quint64(content.size()) == entry.unpacked_bytes);
    return content.size();
}

void requireAllUnpacked()
{
    qint64 total_bytes = 0;
    for (const ZipEntry& entry : directory())
        total_bytes += requireUnpacked(entry);
    require(total_bytes <= ZipExtraction::kMaxUnpackedBytes);
}

void requireNothingBelow(const QString& folder)
{
    constexpr auto kAll = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    require(QDir(folder).entryList(kAll).isEmpty());
}

/// Neither beside the target nor above it.
void requireNothingElsewhere()
{
    constexpr auto kAll = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    require(QDir().entryList(kAll).size() == 2); // the archive and the station
    require(QDir(QStringLiteral("station")).entryList(kAll).size() <= 1);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    fuzzing::silence();
    fuzzing::enterNewFolder();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size_bytes)
{
    writeArchive(fuzzing::bytesOf(data, size_bytes));
    require(QDir().mkdir(QStringLiteral("station")));
    if (ZipExtraction(kTarget).run(kArchive))
        requireAllUnpacked();
    else
        requireNothingBelow(kTarget);
    requireNothingElsewhere();
    require(QDir(QStringLiteral("station")).removeRecursively());
    return 0;
}
