#pragma once

#include <QString>

/// What a process holds, as a technician would look it up.
struct Holdings
{
    int threads = 0;
    int descriptors = 0; ///< without sockets
    int memory_kib = 0;  ///< resident

    QString text() const;
};

/// What more there is in `after` than an idle station's coming and going explains, a text; empty
/// when all is well. The child that it may just be waiting for, its pipes and the allocator's slack
/// count as coming and going.
QString leftBehind(const Holdings& idle, const Holdings& after);
