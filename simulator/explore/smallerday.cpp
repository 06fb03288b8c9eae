#include "explore/smallerday.h"

#include <algorithm>
#include <utility>

namespace {

/// The day without the episodes from `first` on, `count` of them.
Day withoutEpisodes(Day day, std::size_t first, std::size_t count)
{
    const auto begin = day.episodes.begin() + static_cast<std::ptrdiff_t>(first);
    const auto left = static_cast<std::size_t>(day.episodes.end() - begin);
    day.episodes.erase(begin, begin + static_cast<std::ptrdiff_t>(std::min(count, left)));
    return day;
}

Day withoutPod(Day day, std::size_t index)
{
    const int number = day.pods[index].number;
    day.pods.erase(day.pods.begin() + static_cast<std::ptrdiff_t>(index));
    day.episodes.erase(
        std::remove_if(day.episodes.begin(), day.episodes.end(),
                       [number](const Episode& episode) { return episode.pod == number; }),
        day.episodes.end());
    return day;
}

void addWithoutSpecials(const Day& day, std::vector<Day>& days)
{
    if (day.measured) {
        days.push_back(day);
        days.back().measured = false;
        days.back().seed = day.seed;
    }
    for (const QString& name : day.settings.keys()) {
        days.push_back(day);
        days.back().settings.remove(name);
    }
    for (const QString& name : day.stick.keys())
        if (name != QLatin1String("inserted")) {
            days.push_back(day);
            days.back().stick.remove(name);
        }
}

} // namespace

std::vector<Day> smallerDays(const Day& day, std::size_t parts)
{
    std::vector<Day> days;
    const std::size_t size = (day.episodes.size() + parts - 1) / parts;
    for (std::size_t first = 0; first < day.episodes.size(); first += size)
        days.push_back(withoutEpisodes(day, first, size));
    for (std::size_t index = 1; index < day.pods.size(); ++index)
        days.push_back(withoutPod(day, index));
    addWithoutSpecials(day, days);
    return days;
}

Day smallestDay(
    Day day, int most_asked,
    const std::function<std::optional<std::size_t>(const std::vector<Day>&)>& firstThatFails)
{
    std::size_t parts = 2;
    for (int asked = 0; asked < most_asked; ++asked) {
        const std::vector<Day> days = smallerDays(day, parts);
        if (days.empty())
            return day;
        if (const auto smaller = firstThatFails(days))
            day = days[*smaller];
        else if (parts >= day.episodes.size())
            return day; // nothing can be left out any more
        else
            parts *= 2;
    }
    return day;
}
