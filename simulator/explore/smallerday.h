#pragma once

#include "explore/day.h"

#include <functional>

/// Days like this one with some of it left out, the boldest first: parts of `parts` equal ones each
/// of its episodes and its pods, and what was special about it. Pure. The first pod always stays: a
/// day brings something to the stick.
std::vector<Day> smallerDays(const Day& day, std::size_t parts);

/// Leaves out of the day whatever does not matter for `firstThatFails` to choose it: that one is
/// given days and returns the index of one that still breaks the same rule, or none. It is asked at
/// most `most_asked` times.
Day smallestDay(
    Day day, int most_asked,
    const std::function<std::optional<std::size_t>(const std::vector<Day>&)>& firstThatFails);
