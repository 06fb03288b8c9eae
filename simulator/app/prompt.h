#pragma once

#include "bench/bench.h"

#include <QObject>
#include <QSocketNotifier>

/// A person's line to the bench: reads verbs from standard input, prints answers. Lives on the main
/// thread, owned by main. What is typed wrong is answered, never fatal; the end of input on a
/// terminal is the wish to quit, elsewhere it ends the reading alone.
class Prompt : public QObject
{
    Q_OBJECT

public:
    Prompt(Bench& bench, PodPlan usual);

private:
    void readInput();
    void obey(const QString& line);
    void endOfInput();
    static void show(const QString& text);

    Bench& m_bench;
    PodPlan m_usual;
    QByteArray m_input;
    QSocketNotifier m_notifier;
};
