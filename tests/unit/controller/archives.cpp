// When the station begins its next archive, with the timer's three hours cut to a second.
#include "main/archiveticket.h"
#include "main/corvane.h"
#include "main/progress.h"
#include "support/testfiles.h"
#include "system/checksum.h"
#include "uibackend/uibackend.h"
#include "utils/ziputils.h"

#include <QDir>
#include <QProcess>
#include <QTest>
#include <QThread>

#include <atomic>
#include <chrono>
#include <memory>

using namespace std::chrono_literals;
using testfiles::write;
using testfiles::writeTool;

namespace {

const QString kStation = QStringLiteral("/opt/Corvane");
const QString kStick = QStringLiteral("/media/usbkey");

/// How often the timer began an archive.
std::atomic<int> g_begun{0};

void hear(QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& message)
{
    g_begun += message.startsWith(QLatin1String("Timeout new file:"));
}

const QString kRecording = QStringLiteral("tmp/x.ozu");

/// The station on its own thread. One pod was read as soon as the first archive was there.
class Station
{
public:
    Station()
    {
        m_corvane.moveToThread(&m_thread);
        QObject::connect(
            &m_thread, &QThread::started, &m_corvane, [this] { archive(); }, Qt::QueuedConnection);
        QObject::connect(&m_thread, &QThread::started, &m_corvane, &Corvane::taskLoop);
        QObject::connect(
            &m_corvane, &Corvane::syncDone, &m_corvane, [this](int code) { panel = code; },
            Qt::DirectConnection);
        m_thread.start();
    }
    Station(const Station&) = delete;
    Station(Station&&) = delete;
    Station& operator=(const Station&) = delete;
    Station& operator=(Station&&) = delete;
    ~Station()
    {
        m_thread.requestInterruption();
        m_thread.quit();
        m_thread.wait();
    }

    std::atomic<int> panel{WaitingForPods};

private:
    void archive()
    {
        write(kRecording, "recording");
        m_corvane.nbPodsInSync(false);
        const auto ticket = std::make_shared<ArchiveTicket>();
        Checksum checksum;
        checksum.add(QByteArray("recording"));
        ticket->data_crc32 = checksum.value();
        m_corvane.zipFile(kRecording, 0, ticket);
    }

    UIBackEnd m_backend;
    Corvane m_corvane{m_backend, 1s};
    QThread m_thread;
};

} // namespace

class ControllerArchives : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void lateStickGetsTheRecordings();
};

void ControllerArchives::initTestCase()
{
    QVERIFY(QDir().mkpath(kStation) && QDir().mkpath(kStick) && QDir::setCurrent(kStation));
    QCOMPARE(
        QProcess::execute(QStringLiteral("mount"), {QStringLiteral("-t"), QStringLiteral("tmpfs"),
                                                    QStringLiteral("key"), kStick}),
        0);
    for (const char* tool : {"/opt/blkid", "/opt/mount", "/opt/umount", "/opt/sync", "/opt/lsusb"})
        QVERIFY(writeTool(QLatin1String(tool), {}));
    qputenv("PATH", "/opt:" + qgetenv("PATH"));
    qInstallMessageHandler(hear);
}

void ControllerArchives::lateStickGetsTheRecordings()
{
    constexpr int kLimitMs = 60000;
    auto station = std::make_unique<Station>();
    QTRY_VERIFY_WITH_TIMEOUT(g_begun >= 2 && station->panel == NoUsbKey, kLimitMs);
    QVERIFY(writeTool(QStringLiteral("/opt/blkid"), "echo /dev/sda1:"));
    QTRY_COMPARE_WITH_TIMEOUT(station->panel.load(), int(Copied), kLimitMs);
    const QStringList recordings{QStringLiteral("infos.log"), QStringLiteral("x.ozu")};
    // The timer has left its archive behind, so it comes under a name of its own, and the archive
    // of now, without a recording, not at all.
    QCOMPARE(QDir(kStick).entryList(QDir::Files),
             QStringList(QStringLiteral("QVX_DATAS__0000000000.cvx")));
    QCOMPARE(ZipUtils::listFiles(kStick + QStringLiteral("/QVX_DATAS__0000000000.cvx")),
             recordings);
    station.reset();
    QCOMPARE(ZipUtils::listFiles(QStringLiteral("datas/0000000000.cvx")), recordings);
    QCOMPARE(ZipUtils::listFiles(QStringLiteral("datas/0000000001.cvx")), recordings.mid(0, 1));
}

QTEST_GUILESS_MAIN(ControllerArchives)
#include "archives.moc"
