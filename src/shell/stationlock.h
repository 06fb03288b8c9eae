#pragma once

#include "system/uniquefd.h"

/// Keeps stations out of each other's archives: the first one in the working directory holds it
/// until its process ends, whatever the end. Two at once would put back each other's half-made
/// additions and erase pods on the word of an archive that the other one has cut. Owned by `main`.
class StationLock
{
public:
    /// Does not wait.
    StationLock();

    /// False while another station works in that directory. True also where directories cannot be
    /// locked: a station is worth more than the lock.
    bool held() const { return m_held; }

private:
    UniqueFd m_directory;
    bool m_held = true;
};
