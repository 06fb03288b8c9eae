#pragma once

#include "explore/dayinventor.h"
#include "explore/dayplayer.h"

#include <QMap>

/// What is to be explored.
struct ExploreSettings
{
    std::size_t days = 0;
    quint64 first_seed = 1; ///< the others follow it
    DayLimits limits;
    QString kept_folder; ///< for the days that broke a rule
    PlayerSettings player;
};

/// Invents days at a station, plays them and looks whether anything that must always hold did not.
/// Of a day that broke a rule, it says how often it does so again, and makes it smaller. Lives on
/// the main thread.
class Explorer
{
public:
    explicit Explorer(ExploreSettings settings);

    /// To its end, or to the first interruption: true when no rule was broken.
    bool explore();
    void interrupt() { m_player.interrupt(); }

private:
    struct Broken
    {
        Day day;
        QStringList rules;
    };

    void note(const Day& day, const DayResult& result);
    void lookInto(const Broken& broken);
    void repeat(const Broken& broken);
    std::optional<std::size_t> firstThatBreaks(const std::vector<Day>& days,
                                               const QStringList& rules);
    void keep(const Day& day, const QString& suffix, const QString& output) const;
    QString fileOf(const Day& day, const QString& suffix) const;

    ExploreSettings m_settings;
    DayPlayer m_player;
    std::vector<Broken> m_broken;
    QMap<QString, int> m_rules; ///< how many days broke each
    std::size_t m_played = 0;
};
