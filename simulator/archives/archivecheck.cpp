#include "archives/archivecheck.h"

#include <QCryptographicHash>
#include <QFile>
#include <quazip/quazip.h>
#include <quazip/quazipfile.h>

#include <algorithm>

namespace {

constexpr qint64 kBlockBytes = 65536;
const QString kInfos = QStringLiteral("infos.log");

QByteArray digestOfCurrentEntry(QuaZip& archive)
{
    QuaZipFile file(&archive);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (QByteArray block = file.read(kBlockBytes); !block.isEmpty();
         block = file.read(kBlockBytes))
        hash.addData(block);
    const bool whole = file.atEnd() && file.getZipError() == UNZ_OK;
    file.close(); // compares the checksum
    return whole && file.getZipError() == UNZ_OK ? hash.result() : QByteArray();
}

/// The station tells recordings of one name apart by a number behind the name.
bool named(const ArchiveEntry& entry, const KnownRecording& recording)
{
    return entry.name == recording.name || entry.name.startsWith(recording.name + QLatin1Char('_'));
}

bool isRecording(const ArchiveEntry& entry, const KnownRecording& recording)
{
    return named(entry, recording) && entry.sha256 == recording.sha256;
}

/// The library takes an end record that is all there is for none.
bool isEmptyArchive(const QString& path)
{
    QFile file(path);
    const QByteArray end_record = QByteArray("PK\5\6") + QByteArray(18, '\0');
    return file.open(QIODevice::ReadOnly) && file.size() == end_record.size() &&
           file.readAll() == end_record;
}

QString complaintAbout(const KnownRecording& recording, const std::vector<ArchiveEntry>& entries)
{
    const bool damaged =
        std::any_of(entries.begin(), entries.end(),
                    [&recording](const ArchiveEntry& entry) { return named(entry, recording); });
    return QStringLiteral("slot %1: %2 (%3 bytes) is %4")
        .arg(recording.slot)
        .arg(recording.name)
        .arg(recording.size_bytes)
        .arg(damaged ? QStringLiteral("damaged") : QStringLiteral("missing"));
}

} // namespace

QByteArray fileDigest(const QString& path)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    if (!file.open(QIODevice::ReadOnly) || !hash.addData(&file))
        return {};
    return hash.result();
}

std::vector<ArchiveEntry> readArchive(const QString& path, QStringList& problems)
{
    std::vector<ArchiveEntry> entries;
    if (isEmptyArchive(path))
        return entries;
    QuaZip archive(path);
    if (!archive.open(QuaZip::mdUnzip)) {
        problems += QStringLiteral("%1 is missing or no archive").arg(path);
        return entries;
    }
    for (bool more = archive.goToFirstFile(); more; more = archive.goToNextFile())
        entries.push_back({archive.getCurrentFileName(), digestOfCurrentEntry(archive)});
    if (static_cast<int>(entries.size()) != archive.getEntriesCount())
        problems += QStringLiteral("%1: its directory is damaged").arg(path);
    return entries;
}

QByteArray readEntry(const QString& path, const QString& name)
{
    QuaZipFile file(path, name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool holdsRecording(const std::vector<ArchiveEntry>& entries, const KnownRecording& recording)
{
    return std::any_of(entries.begin(), entries.end(), [&recording](const ArchiveEntry& entry) {
        return isRecording(entry, recording);
    });
}

QStringList checkArchive(const std::vector<ArchiveEntry>& entries,
                         const std::vector<KnownRecording>& required,
                         const std::vector<KnownRecording>& known)
{
    QStringList problems;
    if (entries.empty() || entries.front().name != kInfos)
        problems += QStringLiteral("the information file is not the first entry");
    for (const KnownRecording& recording : required)
        if (!holdsRecording(entries, recording))
            problems += complaintAbout(recording, entries);
    for (std::size_t i = 1; i < entries.size(); ++i)
        if (std::none_of(known.begin(), known.end(),
                         [&entry = entries[i]](const KnownRecording& one) {
                             return isRecording(entry, one);
                         }))
            problems +=
                QStringLiteral("%1 is no recording that belongs there").arg(entries[i].name);
    return problems;
}
