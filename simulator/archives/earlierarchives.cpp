#include "archives/earlierarchives.h"

#include "archives/archivecheck.h"
#include "common/badinput.h"
#include "pod/recording.h"

#include <QDir>
#include <quazip/quazip.h>
#include <quazip/quazipfile.h>

namespace {

constexpr int kNameDigits = 10;
constexpr int kStored = 0;

QString archiveName(int number)
{
    return QStringLiteral("%1.cvx").arg(number, kNameDigits, 10, QLatin1Char('0'));
}

template <typename Write>
bool addEntry(QuaZip& archive, const QString& name, Write write)
{
    QuaZipFile file(&archive);
    if (!file.open(QIODevice::WriteOnly, QuaZipNewInfo(name), nullptr, 0, kStored) || !write(file))
        return false;
    file.close();
    return file.getZipError() == ZIP_OK;
}

bool writeArchive(const QString& path, const Recording& recording, int number)
{
    QuaZip archive(path);
    if (!archive.open(QuaZip::mdCreate))
        return false;
    const QByteArray infos = "Serial number: from an earlier day";
    const auto write_infos = [&](QIODevice& to) { return to.write(infos) == infos.size(); };
    const auto write_recording = [&](QIODevice& to) {
        return recording.eachBlock([&to](const char* data, int length_bytes) {
            return to.write(data, length_bytes) == length_bytes;
        });
    };
    const QString recording_name = QStringLiteral("EA%1.ozu").arg(number, 13, 10, QLatin1Char('0'));
    const bool written = addEntry(archive, QStringLiteral("infos.log"), write_infos) &&
                         addEntry(archive, recording_name, write_recording);
    archive.close();
    return written && archive.getZipError() == ZIP_OK;
}

} // namespace

std::vector<KnownArchive> makeEarlierArchives(const QString& folder, const EarlierPlan& plan,
                                              quint64 bench_seed)
{
    std::vector<KnownArchive> archives;
    if (plan.count > 0 && !QDir().mkpath(folder))
        throw BadInput(QStringLiteral("cannot make the folder %1").arg(folder));
    for (int number = 0; number < plan.count; ++number) {
        const QString name = archiveName(number);
        const QString path = folder + QLatin1Char('/') + name;
        const quint64 seed = bench_seed * 1000 + static_cast<quint64>(number);
        if (!writeArchive(path, Recording(seed, plan.size_bytes), number))
            throw BadInput(QStringLiteral("cannot write %1").arg(path));
        archives.push_back({name, fileDigest(path)});
    }
    return archives;
}
