#include "shell/stationlock.h"
#include "support/testfiles.h"

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

private slots:
    void isRefusedWithoutScreen();
    void isRefusedBesideAnotherStation();
    void clearsNothingThatIsNotItsOwn();
};

namespace {

struct Run
{
    int exit_code;
    QByteArray log;
};

/// In a root where the folder is at that path.
void start(QProcess& station, const QDir& folder, const QString& at, const char* platform)
{
    station.setProcessChannelMode(QProcess::MergedChannels);
    station.start(QStringLiteral("bwrap"),
                  {QStringLiteral("--unshare-user"), QStringLiteral("--unshare-pid"),
                   QStringLiteral("--die-with-parent"), QStringLiteral("--ro-bind"),
                   QStringLiteral("/"), QStringLiteral("/"), QStringLiteral("--tmpfs"),
                   QStringLiteral("/opt"), QStringLiteral("--tmpfs"), QStringLiteral("/media"),
                   QStringLiteral("--bind"), folder.path(), at, QStringLiteral("--chdir"), at,
                   QStringLiteral("--setenv"), QStringLiteral("QT_QPA_PLATFORM"),
                   QLatin1String(platform), QStringLiteral(CORVANE_STATION_PROGRAM)});
}

Run startIn(const QDir& folder, const char* platform)
{
    QProcess station;
    start(station, folder, QStringLiteral("/opt/Corvane"), platform);
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

/// Without its installation it stays where it was started.
void Start::clearsNothingThatIsNotItsOwn()
{
    const QTemporaryDir root;
    const QDir folder(root.path());
    const QStringList files = {QStringLiteral("tmp/letter"), QStringLiteral("dfu/letter"),
                               QStringLiteral("tmp_back/letter"), QStringLiteral("backup.zip")};
    for (const QString& name : files) {
        QVERIFY(folder.mkpath(QFileInfo(name).path()));
        QVERIFY(testfiles::write(folder.filePath(name), "somebody's"));
    }
    QVERIFY(folder.mkdir(QStringLiteral("datas")));
    for (int i = 0; i < 30; ++i)
        QVERIFY(testfiles::write(folder.filePath(QStringLiteral("datas/letter%1").arg(i)), "x"));

    QProcess station;
    start(station, folder, QStringLiteral("/opt/elsewhere"), "offscreen");
    QByteArray log;
    while (!log.contains("Current zip") && station.waitForReadyRead())
        log += station.readAll();
    station.kill();
    station.waitForFinished();
    QVERIFY2(log.contains("Setting working dir, success: false"), log);
    for (const QString& name : files)
        QCOMPARE(testfiles::contentOf(folder.filePath(name)), QByteArray("somebody's"));
    QVERIFY(QDir(folder.filePath(QStringLiteral("datas"))).entryList(QDir::Files).size() >= 30);
}

QTEST_GUILESS_MAIN(Start)
#include "start.moc"
