#include "support/playedscenario.h"

#include "bench/scenariorunner.h"
#include "bench/verdict.h"
#include "scenario/scenarioparser.h"

#include <QCoreApplication>
#include <QSignalSpy>
#include <QTextStream>

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
    if (!verdict.good()) // longer than what the test library prints of a failure
        QTextStream(stderr) << summary(bench, verdict);
    return verdict.problems.join(QLatin1Char('\n'));
}
