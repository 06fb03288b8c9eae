#include "shell/stationlock.h"
#include "support/testfiles.h"
#include "system/interruption.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <memory>

using testfiles::contentOf;
using testfiles::write;

const QString kStation = QStringLiteral("Corvane");
const QString kLauncher = QStringLiteral("CorvaneLauncher/CorvaneLauncher");

/// How the real program starts, or does not, in a root with an "/opt" of its own.
class Start : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void isRefusedWithoutScreen();
    void isRefusedBesideAnotherStation();
    void clearsNothingThatIsNotItsOwn();
    void outlivesTheReaderOfItsLog();
    void secondSignalKills();

private:
    /// As the last arguments of a command, if there is one.
    void start(const QString& folder, const char* platform, QStringList command = {});
    int exitCode();
    void checkUntouched() const;
    QString path(const QString& name) const { return m_opt->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_opt;
    QProcess m_station;
};

/// A station's folder with something that each start clears away, and a launcher to be replaced.
void Start::init()
{
    m_opt = std::make_unique<QTemporaryDir>();
    const QDir opt(m_opt->path());
    QVERIFY(opt.mkpath(kStation + QStringLiteral("/tmp/earlier")));
    QVERIFY(opt.mkpath(QFileInfo(kLauncher).path()));
    QVERIFY(write(path(kLauncher), "old") &&
            write(path(kLauncher + QStringLiteral("_new")), "new"));
}

void Start::start(const QString& folder, const char* platform, QStringList command)
{
    m_station.setProcessChannelMode(QProcess::MergedChannels);
    command += QStringLiteral("bwrap --unshare-user --unshare-pid --die-with-parent "
                              "--ro-bind / / --tmpfs /media --setenv QT_QPA_PLATFORM")
                   .split(u' ');
    command += {QLatin1String(platform),
                QStringLiteral("--bind"),
                m_opt->path(),
                QStringLiteral("/opt"),
                QStringLiteral("--chdir"),
                QStringLiteral("/opt/") + folder,
                QStringLiteral(CORVANE_STATION_PROGRAM)};
    const QString program = command.takeFirst();
    m_station.start(program, command);
}

int Start::exitCode()
{
    const bool ended = m_station.waitForFinished();
    m_station.kill();
    m_station.waitForFinished();
    return ended ? m_station.exitCode() : -1;
}

void Start::checkUntouched() const
{
    const QDir folder(path(kStation));
    QCOMPARE(folder.entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList(QStringLiteral("tmp")));
    QVERIFY(folder.exists(QStringLiteral("tmp/earlier")));
}

/// Its launcher's replacement is completed all the same: it may be what the screen waits for.
void Start::isRefusedWithoutScreen()
{
    start(kStation, "linuxfb:fb=/dev/no-such-screen");
    QCOMPARE(exitCode(), EXIT_FAILURE);
    QVERIFY(m_station.readAll().contains("No screen"));
    checkUntouched();
    QCOMPARE(contentOf(path(kLauncher)), QByteArray("new"));
    QVERIFY(!QFile::exists(path(kLauncher + QStringLiteral("_new"))));
}

void Start::isRefusedBesideAnotherStation()
{
    QVERIFY(QDir::setCurrent(path(kStation)));
    auto other = std::make_unique<StationLock>();
    QVERIFY(other->held());

    start(kStation, "offscreen");
    QCOMPARE(exitCode(), EXIT_FAILURE);
    QVERIFY(m_station.readAll().contains("Another station works in /opt/Corvane"));
    checkUntouched();

    other.reset();
    QVERIFY(StationLock().held());
    QVERIFY(QDir::setCurrent(QDir::rootPath()));
}

/// Without its installation it stays where it was started.
void Start::clearsNothingThatIsNotItsOwn()
{
    QVERIFY(QDir(path(kStation)).removeRecursively());
    const QDir folder(path(QStringLiteral("elsewhere")));
    const QStringList files = {QStringLiteral("tmp/letter"), QStringLiteral("dfu/letter"),
                               QStringLiteral("tmp_back/letter"), QStringLiteral("backup.zip")};
    for (const QString& name : files) {
        QVERIFY(folder.mkpath(QFileInfo(name).path()));
        QVERIFY(write(folder.filePath(name), "somebody's"));
    }
    QVERIFY(folder.mkdir(QStringLiteral("datas")));
    for (int i = 0; i < 30; ++i)
        QVERIFY(write(folder.filePath(QStringLiteral("datas/letter%1").arg(i)), "x"));

    start(folder.dirName(), "offscreen");
    QByteArray log;
    while (!log.contains("Current zip") && m_station.waitForReadyRead())
        log += m_station.readAll();
    m_station.kill();
    m_station.waitForFinished();
    QVERIFY2(log.contains("Setting working dir, success: false"), log);
    for (const QString& name : files)
        QCOMPARE(contentOf(folder.filePath(name)), QByteArray("somebody's"));
    QVERIFY(QDir(folder.filePath(QStringLiteral("datas"))).entryList(QDir::Files).size() >= 30);
}

void Start::outlivesTheReaderOfItsLog()
{
    start(kStation, "offscreen",
          {QStringLiteral("sh"), QStringLiteral("-c"), QStringLiteral("\"$@\" | true"),
           QStringLiteral("sh")});
    QVERIFY(m_station.waitForStarted());
    // It says much before it comes so far.
    const QString archive = path(kStation + QStringLiteral("/datas/0000000000.cvx"));
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(archive) || m_station.state() == QProcess::NotRunning,
                             60000);
    QVERIFY(QFile::exists(archive));
    m_station.kill();
    m_station.waitForFinished();
}

/// Whoever cannot wait for the copy at hand asks twice.
void Start::secondSignalKills()
{
    const Interruption interruption;
    QSignalSpy requested(&interruption, &Interruption::requested);
    ::raise(SIGTERM);
    QVERIFY(requested.wait());
    struct sigaction next = {};
    ::sigaction(SIGTERM, nullptr, &next);
    QVERIFY(next.sa_handler == SIG_DFL);
}

QTEST_GUILESS_MAIN(Start)
#include "start.moc"
