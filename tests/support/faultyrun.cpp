#include "support/faultyrun.h"

#include "support/testfiles.h"

#include <QProcess>
#include <QTemporaryDir>

FaultyRun FaultyRun::of(const QStringList& steps, const QString& folder, const QString& spare,
                        const QString& plan, const QString& lost)
{
    const QTemporaryDir own;
    const QString count = own.filePath(QStringLiteral("count"));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LD_PRELOAD"), QStringLiteral(FAULTYSTORAGE_LIBRARY));
    environment.insert(QStringLiteral("FAULTYSTORAGE_DIR"), folder);
    environment.insert(QStringLiteral("FAULTYSTORAGE_SPARE"), spare);
    environment.insert(QStringLiteral("FAULTYSTORAGE_COUNT"), count);
    environment.insert(QStringLiteral("FAULTYSTORAGE_PLAN"), plan);
    environment.insert(QStringLiteral("FAULTYSTORAGE_LOST"), lost);
    environment.insert(QStringLiteral("ASAN_OPTIONS"), QStringLiteral("verify_asan_link_order=0"));
    QProcess driver;
    driver.setProcessEnvironment(environment);
    driver.start(QStringLiteral(FAULTYSTORAGE_DRIVER), steps);
    driver.waitForFinished();
    FaultyRun run;
    run.answers = QString::fromLatin1(driver.readAllStandardOutput());
    run.killed = driver.exitStatus() == QProcess::CrashExit;
    const QList<QByteArray> counts = testfiles::contentOf(count).trimmed().split(' ');
    run.calls = counts.value(0).toInt();
    run.reads = counts.value(1).toInt();
    return run;
}
