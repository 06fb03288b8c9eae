#include "main/archiveanswer.h"

bool ArchiveAnswer::give(bool added)
{
    return m_state.exchange(added ? State::Added : State::Refused) != State::Abandoned;
}

std::optional<bool> ArchiveAnswer::abandon()
{
    return answerIn(m_state.exchange(State::Abandoned));
}

std::optional<bool> ArchiveAnswer::added() const
{
    return answerIn(m_state);
}

std::optional<bool> ArchiveAnswer::answerIn(State state)
{
    if (state == State::Added || state == State::Refused)
        return state == State::Added;
    return std::nullopt;
}
