#pragma once

#include "stick/sticksettings.h"

#include <QString>

#include <vector>

/// One thing that is on the stick from the start.
struct StickItem
{
    enum class Kind {
        Text,
        Sparse,     ///< a file of that size, of zeros, that takes no room on the bench's disk
        Unreadable, ///< a file with failing blocks
        Folder,
        Link ///< text: where it leads
    };
    QString name;
    Kind kind = Kind::Text;
    QString text;
    quint64 size_bytes = 0;
};

/// The USB stick of a scenario.
struct StickPlan
{
    bool inserted = true;
    QString folder; ///< copied onto the stick; empty: none
    std::vector<StickItem> items;
    bool package = false; ///< with the scenario's firmware; that of the first stick always
    StickSettings settings;
    bool may_stay = false; ///< the byte at which it leaves need not come
};
