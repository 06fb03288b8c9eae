#include "bench/copypromise.h"

#include "bench/archivecheck.h"
#include "bench/benchfolder.h"
#include "bench/benchstick.h"

#include <QFile>

#include <algorithm>

namespace {

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

CopyPromise::CopyPromise(const BenchFolder& folder, const BenchStick& stick)
    : m_folder(folder)
    , m_stick(stick)
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

QStringList CopyPromise::broken() const
{
    return m_doubt.isEmpty() || m_lies.contains(m_doubt) ? m_lies : m_lies + QStringList(m_doubt);
}

QString CopyPromise::whatIsWrong(bool stick_mounted) const
{
    if (m_completed == 0)
        return isWholeArchive(m_stick.path(QStringLiteral("backup.zip")))
                   ? QString()
                   : QStringLiteral("the panel said copied, and backup.zip is not whole");
    // The next recording may be in the archive by now, and the picture an older one.
    if (m_completed != m_completed_by_picture)
        return {};
    if (stick_mounted)
        return QStringLiteral("the panel said copied, and the stick was still mounted");
    if (!sameContent(m_folder.localArchives().value(m_folder.localArchives().size() - 1),
                     m_stick.path(QStringLiteral("QVX_DATAS.cvx"))))
        return QStringLiteral("the panel said copied, and the stick did not hold the archive");
    return {};
}
