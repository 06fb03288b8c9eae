#include "bench/copypromise.h"

#include "archives/stickcheck.h"
#include "site/benchfolder.h"
#include "site/benchstick.h"

#include <QFile>

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

const QString kBackup = QStringLiteral("backup.zip");
const QString kReport = QStringLiteral("report.zip");

/// By their bytes: digests of large archives would keep the pods waiting for the bench.
bool sameContent(const QString& path, const QString& other_path)
{
    QFile one(path);
    QFile other(other_path);
    if (!one.open(QIODevice::ReadOnly) || !other.open(QIODevice::ReadOnly) ||
        one.size() != other.size() || one.size() == 0)
        return false;
    const uchar* bytes = one.map(0, one.size());
    const uchar* other_bytes = other.map(0, other.size());
    return bytes != nullptr && other_bytes != nullptr &&
           std::equal(bytes, bytes + one.size(), other_bytes);
}

bool isWholeArchive(const QString& path)
{
    QStringList problems;
    const auto entries = readArchive(path, problems);
    return problems.isEmpty() &&
           std::none_of(entries.begin(), entries.end(),
                        [](const ArchiveEntry& entry) { return entry.sha256.isEmpty(); });
}

} // namespace

CopyPromise::CopyPromise(const BenchFolder& folder, const BenchStick& stick,
                         std::function<Recordings()> erased)
    : m_folder(folder)
    , m_stick(stick)
    , m_erased(std::move(erased))
{
}

void CopyPromise::stationStarted()
{
    m_completed = m_completed_by_picture = 0;
    m_copied = false;
}

void CopyPromise::pictureSeen(bool copied, bool stick_mounted)
{
    if (copied && m_copied)
        m_lies = broken();
    m_doubt = copied && !m_copied ? whatIsWrong(stick_mounted) : QString();
    m_copied = copied;
    m_completed_by_picture = m_completed;
}

void CopyPromise::endedAsCopied()
{
    m_lies = broken();
    m_doubt = whatIsWrong(false);
}

void CopyPromise::noteDelivered()
{
    const Recordings waiting = notYetDelivered(m_erased());
    if (waiting.empty())
        return;
    const auto on_sticks = readSticks(m_stick.folders());
    for (const KnownRecording& recording : waiting)
        if (holdsRecording(on_sticks, recording))
            m_delivered += recording.sha256;
}

void CopyPromise::giveUp(const Recordings& recordings)
{
    for (const KnownRecording& recording : recordings)
        m_delivered += recording.sha256;
}

QStringList CopyPromise::undelivered(const Recordings& recordings) const
{
    const Recordings waiting = notYetDelivered(recordings);
    return waiting.empty() ? QStringList() : ::undelivered(waiting, readSticks(m_stick.folders()));
}

CopyPromise::Recordings CopyPromise::notYetDelivered(const Recordings& recordings) const
{
    Recordings waiting;
    std::copy_if(recordings.begin(), recordings.end(), std::back_inserter(waiting),
                 [this](const KnownRecording& one) { return !m_delivered.contains(one.sha256); });
    return waiting;
}

QStringList CopyPromise::broken() const
{
    return m_doubt.isEmpty() || m_lies.contains(m_doubt) ? m_lies : m_lies + QStringList(m_doubt);
}

QString CopyPromise::whatIsWrong(bool stick_mounted) const
{
    const bool backup = saysBackup();
    // There is nothing else of which it could speak.
    if (!backup && !m_ever_completed && m_erased().empty())
        return QStringLiteral("the panel said copied, and backup.zip is not whole");
    // The next recording may be in the archive by now, and the picture an older one.
    if (m_completed != m_completed_by_picture)
        return {};
    if (stick_mounted && !backup)
        return QStringLiteral("the panel said copied, and the stick was still mounted");
    const QString missing = whatIsMissing(backup);
    return missing.isEmpty() ? QString()
                             : QStringLiteral("the panel said copied, and %1").arg(missing);
}

QString CopyPromise::whatIsMissing(bool backup) const
{
    const QStringList lines = undelivered(m_erased());
    if (!lines.isEmpty())
        return lines.first();
    return backup || newestIsOnAStick()
               ? QString()
               : QStringLiteral("no stick holds the newest archive as it is");
}

/// Without a read-out since its start, the station speaks of what it was told to put on the stick,
/// or of what it owed. Half of a backup may be of an earlier start, and a whole one on the stick
/// that was just taken out.
bool CopyPromise::saysBackup() const
{
    const QStringList sticks = m_stick.folders();
    return m_completed == 0 && std::any_of(sticks.begin(), sticks.end(), [](const QString& stick) {
               return isWholeArchive(stick + QLatin1Char('/') + kBackup) ||
                      isWholeArchive(stick + QLatin1Char('/') + kReport);
           });
}

bool CopyPromise::newestIsOnAStick() const
{
    const QStringList archives = m_folder.localArchives();
    QStringList unreadable;
    if (archives.isEmpty() || readArchive(archives.last(), unreadable).size() == 1)
        return true; // there is no recording in it
    for (const QString& folder : m_stick.folders())
        for (const QString& copy : archivesOnStick(folder))
            if (sameContent(archives.last(), copy))
                return true;
    return false;
}
