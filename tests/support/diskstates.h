#pragma once

#include "support/writelog.h"

#include <QRandomGenerator>
#include <QString>

#include <functional>
#include <vector>

/// The disks that a loss of power could have left behind in the course of a run whose writes were
/// logged: as the disk was at each flush, and with any part of what came between two flushes, as a
/// drive has it that writes its cache in an order of its own, one block perhaps erased and not yet
/// written again. No two are the same.
class DiskStates
{
public:
    struct State
    {
        QString image; ///< to be changed at will
        int number;    ///< from 1 on
        int interval;  ///< of those between two flushes
        QString mark;  ///< the last one that was in the log by then; empty: none was
    };

    /// first: as the disk was before the run, which becomes what it was after it; wanted: so many
    /// in all, as far as there are.
    DiskStates(QString first, const std::vector<LoggedWrite>& log, int wanted, quint32 seed);

    /// Throws BadInput when an image cannot be made.
    void each(const std::function<void(const State&)>& look);

private:
    struct Interval
    {
        std::vector<LoggedWrite> writes;
        QString mark; ///< the last one when all of them were beyond the cache
    };
    /// Of an interval's writes, a character for each sector.
    using Part = QByteArray;

    static std::vector<Interval> intervalsOf(const std::vector<LoggedWrite>& log);
    static bool canBeTorn(const Interval& interval);
    void showParts(std::size_t interval, int count);
    Part anyPart(const std::vector<LoggedWrite>& writes);
    void eraseBlock(const std::vector<LoggedWrite>& writes, Part& part);
    void show(std::size_t interval, const QString& mark, const Part& part);

    QString m_disk;
    std::vector<Interval> m_intervals;
    int m_wanted;
    QRandomGenerator m_random;
    std::function<void(const State&)> m_look;
    int m_shown = 0;
};
