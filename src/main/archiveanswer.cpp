#include "main/archiveanswer.h"

void ArchiveAnswer::give(bool added)
{
    m_state = added ? State::Added : State::Refused;
}

std::optional<bool> ArchiveAnswer::added() const
{
    const State state = m_state;
    if (state == State::Pending)
        return std::nullopt;
    return state == State::Added;
}
