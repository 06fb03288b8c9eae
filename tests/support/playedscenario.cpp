#include "support/playedscenario.h"

#include "bench/scenarioparser.h"
#include "bench/scenariorunner.h"
#include "bench/verdict.h"

#include <QCoreApplication>
#include <QSignalSpy>

QString playedToItsEnd(const QByteArray& json, const QString& name)
{
    const Scenario scenario = parseScenario(json, name, PodPlan());
    BenchSettings settings;
    settings.station_program = QStringLiteral(CORVANE_STATION_PROGRAM);
    Bench bench(settings, scenario);
    ScenarioRunner runner(bench, scenario, ScenarioRunner::Mode::Unattended);
    const QSignalSpy finished(&runner, &ScenarioRunner::finished);
    runner.start();
    while (finished.isEmpty()) // ends at the scenario's time limit
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    Verdict verdict = judge(bench, scenario.expect);
    verdict.problems = runner.problems() + verdict.problems;
    return verdict.good() ? QString() : summary(bench, verdict);
}
