#pragma once

#include "system/uniquefd.h"

#include <QByteArray>

#include <atomic>

/// Keeps the last lines of the log in the working directory, over all starts, for a report: at most
/// 1 MiB in two files, the second one older. A line that the storage does not take is lost, and the
/// station goes on. Nothing is flushed: the last lines before a power cut may be lost, too.
///
/// Belongs to main, one at a time. Any thread adds lines, each in one write, without a lock.
class KeptLog
{
public:
    /// But for one line of each thread.
    static constexpr qint64 kMostFileBytes = qint64(512) * 1024;

    /// Goes on with the files that are there.
    KeptLog();
    KeptLog(const KeptLog&) = delete;
    KeptLog(KeptLog&&) = delete;
    KeptLog& operator=(const KeptLog&) = delete;
    KeptLog& operator=(KeptLog&&) = delete;
    ~KeptLog();

    /// The one that there is, or none.
    static KeptLog* current();

    /// With its line's end.
    void add(const QByteArray& line);

    /// What both files hold, the older one first.
    static QByteArray lines();

private:
    void beginNext();

    UniqueFd m_file;
    std::atomic<qint64> m_bytes{0};
};
