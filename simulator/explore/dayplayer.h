#pragma once

#include "explore/day.h"

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <memory>
#include <vector>

class QEventLoop;
class QProcess;

/// What a played day came to.
struct DayResult
{
    bool good = false;
    QStringList problems; ///< a line each
    QString output;       ///< all that the bench said
    double seconds = 0;

    /// Problems without the numbers in them, so that two runs can be compared.
    QStringList rules() const;
};

/// How days are played.
struct PlayerSettings
{
    QString bench_program;
    QStringList arguments; ///< for each bench: the station, or the machine, to be tried
    int jobs = 1;
};

/// Plays days, some beside each other, each at a bench in a process of its own: no day touches
/// another or the explorer, however it ends. What a day leaves in temporary folders goes with it.
/// Lives on the main thread. Throws BadInput when there is no room for a day's files.
class DayPlayer : public QObject
{
    Q_OBJECT

public:
    /// Told of each day that was played, in the order in which they ended.
    using Report = std::function<void(std::size_t index, const DayResult& result)>;

    explicit DayPlayer(PlayerSettings settings);
    DayPlayer(const DayPlayer&) = delete;
    DayPlayer(DayPlayer&&) = delete;
    DayPlayer& operator=(const DayPlayer&) = delete;
    DayPlayer& operator=(DayPlayer&&) = delete;
    ~DayPlayer() override;

    /// Plays `count` days and returns when all are over, or soon after interrupt().
    void play(std::size_t count, const std::function<Day(std::size_t)>& day_of,
              const Report& report);
    /// The days at hand are broken off and not reported; nothing is played any more.
    void interrupt();
    bool interrupted() const { return m_interrupted; }
    int jobs() const { return m_settings.jobs; }

private:
    struct Run;

    void startNext();
    void start(std::size_t index);
    void finish(Run& run);

    PlayerSettings m_settings;
    QTemporaryDir m_folder;
    std::vector<std::unique_ptr<Run>> m_runs;
    std::size_t m_count = 0;
    std::size_t m_next = 0;
    std::function<Day(std::size_t)> m_day_of;
    Report m_report;
    bool m_interrupted = false;

signals:
    void allOver();
};
