#include "main/archiveticket.h"

#include "utils/interruptiblesleep.h"

using namespace std::chrono_literals;

ArchiveTicket::Claim ArchiveTicket::claim(const QString& path)
{
    if (m_claim)
        return Claim::Held;
    auto claim = std::make_unique<QLockFile>(path + QLatin1String(".lock"));
    claim->setStaleLockTime(0); // a long download is not a stale one
    while (!claim->tryLock()) {
        if (claim->error() != QLockFile::LockFailedError)
            return Claim::Impossible;
        if (!sleepUnlessInterrupted(100ms))
            return Claim::Stopped;
    }
    m_claim = std::move(claim);
    return Claim::Held;
}

void ArchiveTicket::release()
{
    m_claim.reset();
}

ArchiveTicket::Answer ArchiveTicket::settle(bool added)
{
    const Answer before = m_answer.exchange(added ? Answer::Added : Answer::Refused);
    if (before == Answer::Abandoned)
        m_claim.reset();
    return before;
}

ArchiveTicket::Answer ArchiveTicket::abandon()
{
    return m_answer.exchange(Answer::Abandoned);
}
