#include "explore/explorer.h"

#include "common/badinput.h"
#include "explore/dayfile.h"
#include "explore/smallerday.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTextStream>

#include <algorithm>

namespace {

constexpr int kRepeats = 10;
constexpr int kMostSmallerRounds = 12;
/// Each takes as long as a hundred days; the others are kept as they are.
constexpr std::size_t kMostLookedInto = 5;

void say(const QString& line)
{
    QTextStream(stdout) << line << Qt::endl;
}

bool breaksOneOf(const DayResult& result, const QStringList& rules)
{
    const QStringList broken = result.rules();
    return std::any_of(rules.begin(), rules.end(),
                       [&broken](const QString& rule) { return broken.contains(rule); });
}

} // namespace

Explorer::Explorer(ExploreSettings settings)
    : m_settings(std::move(settings))
    , m_player(m_settings.player)
{
}

bool Explorer::explore()
{
    QElapsedTimer clock;
    clock.start();
    const auto day_of = [this](std::size_t index) {
        return inventDay(m_settings.first_seed + index, m_settings.limits);
    };
    m_player.play(m_settings.days, day_of,
                  [&](std::size_t index, const DayResult& result) { note(day_of(index), result); });
    const double hours = static_cast<double>(clock.elapsed()) / 3'600'000;
    say(QStringLiteral("%1 of %2 days played, %3 broke a rule; %4 days an hour")
            .arg(m_played)
            .arg(m_settings.days)
            .arg(m_broken.size())
            .arg(static_cast<double>(m_played) / hours, 0, 'f', 0));
    for (auto rule = m_rules.begin(); rule != m_rules.end(); ++rule)
        say(QStringLiteral("%1 days: %2").arg(rule.value()).arg(rule.key()));
    for (std::size_t i = 0; i < std::min(kMostLookedInto, m_broken.size()); ++i)
        if (!m_player.interrupted())
            lookInto(m_broken[i]);
    return m_broken.empty() && m_played == m_settings.days;
}

void Explorer::note(const Day& day, const DayResult& result)
{
    ++m_played;
    say(QStringLiteral("day %1: %2 pods, %3 episodes, %4 s: %5")
            .arg(day.seed)
            .arg(day.pods.size())
            .arg(day.episodes.size())
            .arg(result.seconds, 0, 'f', 0)
            .arg(result.good ? QStringLiteral("good")
                             : result.problems.join(QStringLiteral("; "))));
    if (result.good)
        return;
    keep(day, QString(), result.output);
    for (const QString& rule : result.rules())
        ++m_rules[rule];
    m_broken.push_back({day, result.rules()});
}

void Explorer::lookInto(const Broken& broken)
{
    repeat(broken);
    const Day smallest =
        smallestDay(broken.day, kMostSmallerRounds, [&](const std::vector<Day>& days) {
            return firstThatBreaks(days, broken.rules);
        });
    if (m_player.interrupted())
        return;
    keep(smallest, QStringLiteral("-small"), QString());
    say(QStringLiteral("day %1, made smaller: %2 pods, %3 episodes; corvane-sim %4")
            .arg(broken.day.seed)
            .arg(smallest.pods.size())
            .arg(smallest.episodes.size())
            .arg(playArguments(smallest, fileOf(smallest, QStringLiteral("-small.json")))
                     .join(QLatin1Char(' '))));
}

/// What comes of the timing of threads comes sometimes.
void Explorer::repeat(const Broken& broken)
{
    int played = 0;
    int times = 0;
    m_player.play(
        kRepeats, [&](std::size_t /*index*/) { return broken.day; },
        [&](std::size_t /*index*/, const DayResult& result) {
            ++played;
            times += breaksOneOf(result, broken.rules) ? 1 : 0;
        });
    say(QStringLiteral("day %1 breaks its rule %2 times of %3")
            .arg(broken.day.seed)
            .arg(times)
            .arg(played));
}

std::optional<std::size_t> Explorer::firstThatBreaks(const std::vector<Day>& days,
                                                     const QStringList& rules)
{
    std::optional<std::size_t> first;
    m_player.play(
        days.size(), [&](std::size_t index) { return days[index]; },
        [&](std::size_t index, const DayResult& result) {
            if (breaksOneOf(result, rules))
                first = std::min(first.value_or(index), index);
        });
    return m_player.interrupted() ? std::nullopt : first;
}

void Explorer::keep(const Day& day, const QString& suffix, const QString& output) const
{
    if (!QDir().mkpath(m_settings.kept_folder))
        throw BadInput(QStringLiteral("cannot make the folder %1").arg(m_settings.kept_folder));
    writeDay(day, fileOf(day, suffix + QStringLiteral(".json")));
    QFile log(fileOf(day, suffix + QStringLiteral(".log")));
    if (!output.isEmpty() && log.open(QIODevice::WriteOnly))
        log.write(output.toUtf8());
}

QString Explorer::fileOf(const Day& day, const QString& suffix) const
{
    return m_settings.kept_folder + QStringLiteral("/day-%1%2").arg(day.seed).arg(suffix);
}
