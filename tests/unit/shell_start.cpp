#include "stationlock.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

/// When the program must not start at all: the real one, in a root with a station's folder of its
/// own. It then touches nothing there; what an earlier run left in "tmp" would be the first to go.
class Start : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isRefusedWithoutScreen();
    void isRefusedBesideAnotherStation();
};

namespace {

struct Run
{
    int exit_code;
    QByteArray log;
};

Run startIn(const QDir& folder, const char* platform)
{
    QProcess station;
    station.setProcessChannelMode(QProcess::MergedChannels);
    station.start(QStringLiteral("bwrap"),
                  {QStringLiteral("--unshare-user"), QStringLiteral("--die-with-parent"),
                   QStringLiteral("--ro-bind"), QStringLiteral("/"), QStringLiteral("/"),
                   QStringLiteral("--tmpfs"), QStringLiteral("/opt"), QStringLiteral("--bind"),
                   folder.path(), QStringLiteral("/opt/Corvane"), QStringLiteral("--setenv"),
                   QStringLiteral("QT_QPA_PLATFORM"), QLatin1String(platform),
                   QStringLiteral(CORVANE_STATION_PROGRAM)});
    const bool ended = station.waitForFinished();
    const int exit_code = ended ? station.exitCode() : -1;
    station.kill();
    station.waitForFinished();
    return {exit_code, station.readAll()};
}

/// A station's folder with something that each start clears away.
void fill(const QDir& folder)
{
    QVERIFY(folder.mkpath(QStringLiteral("tmp/earlier")));
}

bool touched(const QDir& folder)
{
    return folder.entryList(QDir::AllEntries | QDir::NoDotAndDotDot) !=
               QStringList(QStringLiteral("tmp")) ||
           !folder.exists(QStringLiteral("tmp/earlier"));
}

} // namespace

void Start::isRefusedWithoutScreen()
{
    const QTemporaryDir root;
    const QDir folder(root.path());
    fill(folder);
    const Run run = startIn(folder, "linuxfb:fb=/dev/no-such-screen");
    QVERIFY2(run.log.contains("No screen"), run.log);
    QCOMPARE(run.exit_code, EXIT_FAILURE);
    QVERIFY(!touched(folder));
}

void Start::isRefusedBesideAnotherStation()
{
    const QTemporaryDir root;
    const QDir folder(root.path());
    fill(folder);
    QVERIFY(QDir::setCurrent(folder.path()));
    auto other = std::make_unique<StationLock>();
    QVERIFY(other->held());

    const Run run = startIn(folder, "offscreen");
    QVERIFY2(run.log.contains("Another station works in /opt/Corvane"), run.log);
    QCOMPARE(run.exit_code, EXIT_FAILURE);
    QVERIFY(!touched(folder));

    other.reset();
    QVERIFY(StationLock().held());
    QVERIFY(QDir::setCurrent(QDir::rootPath()));
}

QTEST_GUILESS_MAIN(Start)
#include "shell_start.moc"
