#include "shell/keptlog.h"

#include "system/stationpaths.h"
#include "system/storagefile.h"

#include <QDateTime>
#include <QFile>

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

/// Leaves room for what other threads add while the next file begins.
constexpr qint64 kFullBytes = KeptLog::kMostFileBytes * 7 / 8;

std::atomic<KeptLog*> kept{nullptr};

UniqueFd openLog(int flags)
{
    return UniqueFd(::open(QFile::encodeName(stationpaths::kLog).constData(),
                           O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW | flags, 0644));
}

QByteArray contentOf(const QString& path)
{
    const UniqueFd file = storage::openRegular(path, O_RDONLY | O_NOFOLLOW);
    return file ? storage::readRange(
                      file.get(), 0,
                      std::min(storage::sizeOf(file.get()), 2 * KeptLog::kMostFileBytes))
                      .value_or(QByteArray())
                : QByteArray();
}

} // namespace

KeptLog::KeptLog()
    : m_file(openLog(0))
    , m_bytes(m_file ? storage::sizeOf(m_file.get()) : 0)
{
    if (m_bytes >= kFullBytes) // the power went before the next one began
        beginNext();
    // The lines themselves tell no time.
    add("\nStarted at " + QDateTime::currentDateTimeUtc().toString(Qt::ISODate).toLatin1() + '\n');
    kept = this;
}

KeptLog::~KeptLog()
{
    kept = nullptr;
}

KeptLog* KeptLog::current()
{
    return kept;
}

void KeptLog::add(const QByteArray& line)
{
    if (!m_file || m_bytes >= kMostFileBytes)
        return;
    const ssize_t written = ::write(m_file.get(), line.constData(), size_t(line.size()));
    const qint64 before = m_bytes.fetch_add(std::max<qint64>(written, 0));
    // One thread alone passes the limit.
    if (before < kFullBytes && before + written >= kFullBytes)
        beginNext();
}

/// The descriptor keeps its number: a thread that writes meanwhile writes to one of the two files.
void KeptLog::beginNext()
{
    std::rename(QFile::encodeName(stationpaths::kLog).constData(),
                QFile::encodeName(stationpaths::kLogBefore).constData());
    const UniqueFd next = openLog(O_TRUNC);
    // Rather fewer lines than the recordings' room.
    if (!next || ::dup3(next.get(), m_file.get(), O_CLOEXEC) < 0)
        storage::truncate(m_file.get(), 0);
    m_bytes = 0;
}

QByteArray KeptLog::lines()
{
    return contentOf(stationpaths::kLogBefore) + contentOf(stationpaths::kLog);
}
