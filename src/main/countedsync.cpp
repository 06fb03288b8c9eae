#include "main/countedsync.h"

CountedSync::~CountedSync()
{
    tell(true);
}

void CountedSync::setArchived()
{
    m_state = State::Over;
}

void CountedSync::tell(bool failed)
{
    State before = failed ? State::Counted : State::NotBegun;
    if (m_state.compare_exchange_strong(before, failed ? State::Over : State::Counted))
        emit counted(failed);
}
