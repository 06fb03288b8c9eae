// An archive from a stick: it is unpacked as its directory says, below its folder, or leaves
// nothing.
#include "archive/zipdirectory.h"
#include "archive/zipextraction.h"
#include "fuzz/fuzzing.h"
#include "system/storagefile.h"

#include <QDir>

#include <fcntl.h>
#include <zlib.h>

using fuzzing::require;

namespace {

const QString kArchive = QStringLiteral("app.zip");
const QString kTarget = QStringLiteral("station/dfu");

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
    const QByteArray content = fuzzing::contentOf(path);
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

int entriesIn(const QString& folder)
{
    return QDir(folder)
        .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot)
        .size();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size_bytes)
{
    fuzzing::write(kArchive, fuzzing::bytesOf(data, size_bytes));
    require(QDir().mkdir(QStringLiteral("station")));
    if (ZipExtraction(kTarget).run(kArchive))
        requireAllUnpacked();
    else
        require(entriesIn(kTarget) == 0);
    require(entriesIn(QStringLiteral(".")) == 2); // the archive and the station
    require(entriesIn(QStringLiteral("station")) <= 1);
    require(QDir(QStringLiteral("station")).removeRecursively());
    return 0;
}
