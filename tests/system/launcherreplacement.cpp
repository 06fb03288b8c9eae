#include "bench/bench.h"
#include "bench/scenariorunner.h"
#include "bench/verdict.h"
#include "system/testedcomputer.h"

#include <QFile>
#include <QtTest>

/// The launcher's replacement at the station's start, on the disk where both really are.
class LauncherReplacement : public QObject
{
    Q_OBJECT

private slots:
    void completesAtTheStart();
};

namespace {

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("none");
}

void write(const QString& path, const QByteArray& content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

} // namespace

void LauncherReplacement::completesAtTheStart()
{
    const QTemporaryDir kept;
    QVERIFY(QDir(kept.path()).mkdir(QStringLiteral("launcher")));
    const QString launcher = kept.filePath(QStringLiteral("launcher/CorvaneLauncher"));
    write(launcher, "old");
    write(launcher + QStringLiteral("_new"), "new");

    Scenario scenario = plainScenario({}, {}, true, {});
    scenario.steps.front().conditions = {
        {Condition::Kind::StationBytes, {}, QStringLiteral("datas/0000000000.cvx"), 1}};
    scenario.expect.on_stick = false;
    BenchSettings settings = testedcomputer::settings();
    settings.kept_folder = kept.path();
    Bench bench(settings, scenario);
    ScenarioRunner runner(bench, scenario, ScenarioRunner::Mode::Unattended);
    QSignalSpy finished(&runner, &ScenarioRunner::finished);
    runner.start();
    QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 1,
                              int(std::chrono::milliseconds(scenario.time_limit).count()));

    const Verdict verdict = judge(bench, scenario.expect);
    if (!verdict.good())
        QTextStream(stderr) << summary(bench, verdict); // a test's own message would be cut
    QVERIFY(verdict.good());
    QCOMPARE(contentOf(launcher), QByteArray("new"));
    QCOMPARE(contentOf(launcher + QStringLiteral("_new")), QByteArray("none"));
    QCOMPARE(contentOf(launcher + QStringLiteral("_old")), QByteArray("none"));
}

QTEST_GUILESS_MAIN(LauncherReplacement)
#include "launcherreplacement.moc"
