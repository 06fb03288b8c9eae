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

/// Of the allocator, for a station that has had thirty pods at once, against one that has had one.
constexpr int kMemorySlackKib = 48 * 1024;

/// What `after` holds beyond an idle station's coming and going, as a text; empty when all is well.
/// The child that it may just be waiting for, its pipes and the allocator's slack count as coming
/// and going.
QString leftBehind(const Holdings& idle, const Holdings& after,
                   int memory_slack_kib = kMemorySlackKib);
