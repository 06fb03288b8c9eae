#include "bench/scenariorunner.h"

#include "common/badinput.h"

#include <QEventLoop>

#include <algorithm>

namespace {
// For what changes without a word: the clock, and the station's threads.
constexpr std::chrono::milliseconds kLookAgain{50};
} // namespace

ScenarioRunner::ScenarioRunner(Bench& bench, const Scenario& scenario, Mode mode)
    : m_bench(bench)
    , m_scenario(scenario)
    , m_mode(mode)
{
    m_limit.setSingleShot(true);
    m_limit.setInterval(scenario.time_limit);
    m_look_again.setInterval(kLookAgain);
    connect(&m_limit, &QTimer::timeout, this, [this] {
        giveUp(QStringLiteral("the time limit of %1 s passed %2")
                   .arg(m_scenario.time_limit.count())
                   .arg(waitingFor()));
    });
    connect(&m_look_again, &QTimer::timeout, this, &ScenarioRunner::advance);
    // Queued: a step may itself change what is waited for.
    connect(&bench, &Bench::changed, this, &ScenarioRunner::advance, Qt::QueuedConnection);
}

QStringList ScenarioRunner::playToItsEnd(Bench& bench, const Scenario& scenario)
{
    ScenarioRunner runner(bench, scenario, Mode::Unattended);
    runner.play();
    return runner.problems();
}

void ScenarioRunner::play()
{
    QEventLoop loop;
    connect(this, &ScenarioRunner::finished, &loop, &QEventLoop::quit, Qt::QueuedConnection);
    start();
    loop.exec();
}

void ScenarioRunner::start()
{
    if (m_mode == Mode::Unattended)
        m_limit.start();
    m_look_again.start();
    m_last_step.start();
    m_bench.start();
}

void ScenarioRunner::advance()
{
    while (!m_finished && m_next_step < m_scenario.steps.size() && stepDue())
        doStep(m_scenario.steps[m_next_step++]);
    finishIfEnded();
}

bool ScenarioRunner::stepDue() const
{
    const Step& step = m_scenario.steps[m_next_step];
    const std::chrono::milliseconds passed(m_last_step.elapsed());
    if (step.patience && passed >= *step.patience)
        return true;
    return passed >= step.wait &&
           std::all_of(step.conditions.begin(), step.conditions.end(),
                       [this](const Condition& condition) { return m_bench.holds(condition); });
}

void ScenarioRunner::doStep(const Step& step)
{
    try {
        perform(step.action);
    } catch (const BadInput& bad) {
        if (!step.if_possible)
            giveUp(QStringLiteral("%1: %2").arg(step.place, bad.text()));
    }
    m_last_step.start();
}

void ScenarioRunner::perform(const Verb& action)
{
    const bool watched = m_mode == Mode::Watched;
    if (watched && std::holds_alternative<verb::Screenshot>(action))
        return;
    const bool ends = std::holds_alternative<verb::Quit>(action);
    m_bench.perform(watched && ends ? Verb(verb::StopStation{}) : action);
}

bool ScenarioRunner::endAwaited() const
{
    const auto& conditions = m_scenario.steps[m_next_step].conditions;
    return std::any_of(conditions.begin(), conditions.end(), [](const Condition& condition) {
        return condition.kind == Condition::Kind::Ended;
    });
}

void ScenarioRunner::finishIfEnded()
{
    if (m_finished || !m_bench.station().exitCode())
        return;
    const bool steps_left = m_next_step < m_scenario.steps.size();
    const bool judged = m_mode == Mode::Unattended;
    if (judged ? steps_left && endAwaited() : !m_bench.quitAsked())
        return;
    if (judged && steps_left)
        m_problems += QStringLiteral("the station ended %1").arg(waitingFor());
    m_finished = true;
    emit finished();
}

void ScenarioRunner::giveUp(const QString& problem)
{
    m_problems += problem;
    m_next_step = m_scenario.steps.size();
    m_bench.perform(verb::KillStation{});
}

QString ScenarioRunner::progress() const
{
    if (m_next_step == m_scenario.steps.size())
        return {};
    return QStringLiteral("%1 waits for %2")
        .arg(m_scenario.steps[m_next_step].place, missing(atPlaces));
}

/// As "erased in slots 0-5 and stick mounted true": what of the next step does not hold.
QString ScenarioRunner::missing(QString (*in_words)(const SlotSet& slot_set)) const
{
    const Step& step = m_scenario.steps[m_next_step];
    QStringList missing;
    for (const Condition& condition : step.conditions)
        if (!m_bench.holds(condition))
            missing += textOf(condition, in_words);
    if (missing.isEmpty())
        missing += QStringLiteral("its time, %1 s after the step before")
                       .arg(static_cast<double>(step.wait.count()) / 1000);
    return missing.join(QStringLiteral(" and "));
}

QString ScenarioRunner::waitingFor() const
{
    if (m_next_step == m_scenario.steps.size())
        return QStringLiteral("while the station was to end");
    return QStringLiteral("while %1 waited for %2")
        .arg(m_scenario.steps[m_next_step].place, missing(inSlots));
}
