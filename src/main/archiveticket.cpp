#include "main/archiveticket.h"

#include "utils/interruptiblesleep.h"

using namespace std::chrono_literals;

bool ArchiveTicket::claim(const QString& path)
{
    if (m_claim)
        return true;
    auto claim = std::make_unique<QLockFile>(path + QLatin1String(".lock"));
    claim->setStaleLockTime(0); // a long download is not a stale one
    while (!claim->tryLock()) {
        // Without a place for the lock there is none for the file either: its own opening says so.
        if (claim->error() != QLockFile::LockFailedError)
            break;
        if (!sleepUnlessInterrupted(100ms))
            return false;
    }
    m_claim = std::move(claim);
    return true;
}

void ArchiveTicket::release()
{
    m_claim.reset();
}

ArchiveTicket::Answer ArchiveTicket::settle(bool added)
{
    m_claim.reset();
    return m_answer.exchange(added ? Answer::Added : Answer::Refused);
}

ArchiveTicket::Answer ArchiveTicket::abandon()
{
    return m_answer.exchange(Answer::Abandoned);
}
