#pragma once

#include "explore/day.h"

/// What days may be like.
struct DayLimits
{
    int most_episodes = 16;
    bool machine = false; ///< only what a virtual machine can do
};

/// The day that follows from seed and limits, and from them alone.
Day inventDay(quint64 seed, const DayLimits& limits);
