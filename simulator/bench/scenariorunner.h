#pragma once

#include "bench/bench.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

/// Does a scenario's steps, each as soon as its conditions hold, and says when the station has
/// ended after the last one. Lives on the main thread, owned by main. A step that cannot be done
/// and a time limit that passes are problems(); they end the run.
class ScenarioRunner : public QObject
{
    Q_OBJECT

public:
    enum class Mode {
        Unattended, ///< ends with the station, or at the time limit
        Attended,   ///< ends when the person, or a step, has asked for it
        Watched     ///< a step's end is the station's alone, and a step takes no picture
    };
    ScenarioRunner(Bench& bench, const Scenario& scenario, Mode mode);

    /// Plays it unattended; the event loop runs meanwhile. The problems.
    static QStringList playToItsEnd(Bench& bench, const Scenario& scenario);

    void start();
    /// Starts it and runs the event loop until it has finished.
    void play();
    const QStringList& problems() const { return m_problems; }
    /// For operators: as "step 2 waits for erased at places 1-6"; empty when all are done.
    QString progress() const;

signals:
    void finished();

private:
    void advance();
    bool stepDue() const;
    bool endAwaited() const;
    void doStep(const Step& step);
    void perform(const Verb& action);
    void finishIfEnded();
    void giveUp(const QString& problem);
    QString missing(QString (*in_words)(const SlotSet& slot_set)) const;
    QString waitingFor() const;

    Bench& m_bench;
    const Scenario& m_scenario;
    Mode m_mode;
    std::size_t m_next_step = 0;
    QElapsedTimer m_last_step; ///< runs since it was done
    QTimer m_limit;
    QTimer m_look_again;
    QStringList m_problems;
    bool m_finished = false;
};
