#include "support/playedscenario.h"

#include "bench/scenariorunner.h"
#include "bench/verdict.h"
#include "scenario/scenarioparser.h"

#include <QTextStream>

QString playedToItsEnd(const QByteArray& json, const QString& name)
{
    const Scenario scenario = parseScenario(json, name, PodPlan());
    BenchSettings settings;
    settings.station_program = QStringLiteral(CORVANE_STATION_PROGRAM);
    Bench bench(settings, scenario);
    const QStringList problems = ScenarioRunner::playToItsEnd(bench, scenario);
    Verdict verdict = judge(bench, scenario.expect);
    verdict.problems = problems + verdict.problems;
    if (!verdict.good()) // longer than what the test library prints of a failure
        QTextStream(stderr) << summary(bench, verdict);
    return verdict.problems.join(QLatin1Char('\n'));
}
