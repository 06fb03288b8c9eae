// When the station begins its next archive, and what the panel says meanwhile.
#include "main/corvane.h"
#include "main/pod.h"
#include "main/progress.h"
#include "support/testfiles.h"
#include "support/zipbytes.h"
#include "system/checksum.h"
#include "uibackend/uibackend.h"
#include "usbfs/usbbus.h"
#include "utils/ziputils.h"

#include <QDir>
#include <QElapsedTimer>
#include <QTest>
#include <QThread>

#include <atomic>
#include <chrono>
#include <memory>

using namespace std::chrono_literals;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testfiles::write;
using testfiles::writeTool;

namespace {

const QString kStation = QStringLiteral("/opt/Corvane");
const QString kStick = QStringLiteral("/media/usbkey");
const QString kRecording = QStringLiteral("tmp/x.ozu");
constexpr int kLimitMs = 60000;
constexpr auto kInterval = 2s;
/// The timer deliberately keeps to whole seconds.
constexpr auto kLeastInterval = kInterval - 600ms;

std::atomic<int> g_begun{0}; ///< archives, by the timer
std::atomic<int> g_begun_early{0};
std::atomic<steady_clock::time_point> g_last_plug{steady_clock::time_point()};

/// On the thread of the controller and its timer.
void hear(QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& message)
{
    if (!message.startsWith(QLatin1String("Timeout new file:")))
        return;
    ++g_begun;
    g_begun_early += steady_clock::now() - g_last_plug.load() < kLeastInterval;
}

/// The station on its own thread.
class Station
{
public:
    explicit Station(std::chrono::milliseconds archive_interval)
        : m_corvane(m_backend, archive_interval)
    {
        m_corvane.moveToThread(&m_thread);
        QObject::connect(&m_thread, &QThread::started, &m_corvane, &Corvane::taskLoop);
        QObject::connect(
            &m_corvane, &Corvane::syncDone, &m_corvane,
            [this](int code) {
                panel = code;
                asked_for_pods = asked_for_pods || code == WaitingForPods;
            },
            Qt::DirectConnection);
        QObject::connect(&m_corvane, &Corvane::podConnection, &m_corvane, [this] {
            g_last_plug = steady_clock::now();
            ++plugs;
        });
        m_thread.start();
    }
    Q_DISABLE_COPY_MOVE(Station)
    ~Station()
    {
        m_thread.requestInterruption();
        m_thread.quit();
        m_thread.wait();
    }

    /// Once the first archive is there.
    void archiveOneAndRefuseOne()
    {
        QMetaObject::invokeMethod(
            &m_corvane,
            [this] {
                archive();
                refuse();
            },
            Qt::QueuedConnection);
    }

    std::atomic<int> panel{Syncing};
    std::atomic<bool> asked_for_pods{false};
    std::atomic<int> plugs{0}; ///< and unplugs

private:
    void archive()
    {
        write(kRecording, "recording");
        const auto ticket = std::make_shared<ArchiveTicket>();
        Checksum checksum;
        checksum.add(QByteArray("recording"));
        ticket->data_crc32 = checksum.value();
        m_corvane.nbPodsInSync(false);
        m_corvane.zipFile(kRecording, 0, ticket);
    }

    /// Of a pod that has gone when the controller comes to its recording.
    void refuse()
    {
        auto& slot = m_corvane.device_slots.back();
        const auto begin = [](Pod* pod) {
            emit pod->syncInProgress(false);
            emit pod->dataReady(QStringLiteral("tmp/gone.ozu"), pod->getIdx());
        };
        slot.start(Corvane::kSlotCount - 1, UsbDeviceRef(), m_corvane, m_backend, false, begin);
        QThread* const worker = slot.workThread;
        worker->requestInterruption();
        emit slot.pod->finished();
        slot.clean();
        worker->wait();
    }

    UIBackEnd m_backend;
    Corvane m_corvane;
    QThread m_thread;
};

} // namespace

class ControllerArchives : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void lateStickGetsTheRecordings();
    void plugPutsTheNextArchiveOff();
    void updateAsksForNoPods_data();
    void updateAsksForNoPods();
};

void ControllerArchives::initTestCase()
{
    // For this program alone: under a sanitizer's preload beside it, the tools would not start.
    qunsetenv("LD_PRELOAD");
    QVERIFY(QDir().mkpath(kStation) && QDir::setCurrent(kStation));
    QVERIFY(testfiles::mountDisk(kStick));
    QVERIFY(testfiles::useTools(
        QStringLiteral("/opt"),
        {{"blkid", ""}, {"mount", ""}, {"umount", ""}, {"sync", ""}, {"lsusb", ""}}));
    qInstallMessageHandler(hear);
}

void ControllerArchives::lateStickGetsTheRecordings()
{
    auto station = std::make_unique<Station>(1s);
    station->archiveOneAndRefuseOne();
    QTRY_VERIFY_WITH_TIMEOUT(g_begun >= 2 && station->panel == NoUsbKey, kLimitMs);
    // An addition that waits to be put back, and can be neither read nor set aside.
    QVERIFY(QFile::remove(QStringLiteral("addition.undo")));
    QVERIFY(QDir().mkdir(QStringLiteral("addition.undo")));
    QVERIFY(write(QStringLiteral("addition.undo.aside"), {}));
    QVERIFY(writeTool(QStringLiteral("/opt/blkid"), "echo /dev/sda1:"));
    QTRY_COMPARE_WITH_TIMEOUT(station->panel.load(), int(CopyFailed), kLimitMs);
    QCOMPARE(QDir(kStick).entryList(QDir::Files), QStringList());
    QVERIFY(QDir().rmdir(QStringLiteral("addition.undo")));
    QVERIFY(QFile::remove(QStringLiteral("addition.undo.aside")));
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

/// A station in use keeps one archive.
void ControllerArchives::plugPutsTheNextArchiveOff()
{
    UsbBus bus;
    // Where the station's libusb looks for its devices.
    qputenv("UMOCKDEV_DIR", bus.testbedDir().toLocal8Bit());
    const Station station(kInterval);
    QElapsedTimer since_first;
    int plugs = 0;
    const auto noticed = [&] { return station.plugs == plugs; };
    do {
        bus.plug(0, PodSettings());
        ++plugs;
        QTRY_VERIFY_WITH_TIMEOUT(noticed(), kLimitMs);
        if (!since_first.isValid())
            since_first.start();
        bus.unplug(0);
        ++plugs;
        QTRY_VERIFY_WITH_TIMEOUT(noticed(), kLimitMs);
    } while (!since_first.hasExpired(3 * milliseconds(kInterval).count()));
    g_begun = 0;
    QTRY_VERIFY_WITH_TIMEOUT(g_begun > 0, kLimitMs);
    QCOMPARE(g_begun_early.load(), 0);
}

void ControllerArchives::updateAsksForNoPods_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("corvane.zip") << QByteArray("the station's, which is done");
    QVector<zipbytes::Entry> package(3);
    package[0].name = "manifest.json";
    package[1].name = "app.bin";
    package[2].name = "app.dat";
    QTest::newRow("app.zip") << zipbytes::archive(package);
}

/// Whoever brought one knows what to plug, or has nothing to plug.
void ControllerArchives::updateAsksForNoPods()
{
    QFETCH(QByteArray, content);
    QVERIFY(writeTool(QStringLiteral("/opt/blkid"), "echo /dev/sda1:"));
    const QString update = kStick + QLatin1Char('/') + QLatin1String(QTest::currentDataTag());
    QVERIFY(write(update, content));
    g_begun = 0;
    const Station station(1s);
    // The panel's timer is the same thread's, and has come up meanwhile.
    QTRY_VERIFY_WITH_TIMEOUT(g_begun >= 4, kLimitMs);
    QVERIFY(!station.asked_for_pods);
    QVERIFY(!QFile::exists(update));
}

QTEST_GUILESS_MAIN(ControllerArchives)
#include "archives.moc"
