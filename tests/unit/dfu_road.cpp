#include "main/corvane.h"
#include "main/discovery.h"
#include "support/updatebench.h"

#include <QSignalSpy>
#include <QThread>
#include <QtTest>

namespace {

constexpr int kPatientMs = 30'000;

/// Discovery and the slots on their threads, and pods in their bootloaders.
class Station
{
public:
    explicit Station(UIBackEnd& backend)
        : m_corvane(backend)
    {
        QObject::connect(&m_corvane, &Corvane::podConnection, &backend,
                         &UIBackEnd::setPodConnection);
        m_discovery = std::make_unique<Discovery>(m_corvane);
        m_discovery->moveToThread(&m_thread);
        QObject::connect(&m_thread, &QThread::started, m_discovery.get(), &Discovery::Start);
        m_thread.start();
    }
    ~Station()
    {
        m_thread.requestInterruption();
        m_thread.quit();
        m_thread.wait();
    }
    Station(const Station&) = delete;
    Station& operator=(const Station&) = delete;
    Station(Station&&) = delete;
    Station& operator=(Station&&) = delete;

    int podsConnected() const { return m_corvane.nb_pods_connected; }

private:
    Corvane m_corvane;
    std::unique_ptr<Discovery> m_discovery;
    QThread m_thread;
};

} // namespace

/// Pods that are in their bootloader, from the plug to the end, with discovery and the slots on
/// their threads.
class DfuRoad : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void updatedPodComesBackAndCharges();
    void podsThatLeave();

private:
    std::unique_ptr<UpdateBench> m_bench;
    UpdateBench::Package m_package;
};

void DfuRoad::init()
{
    m_bench = std::make_unique<UpdateBench>();
    m_package = UpdateBench::plainPackage(UpdateBench::podInBootloader().bootloader);
    UpdateBench::unpack(m_package);
}

void DfuRoad::cleanup()
{
    m_bench.reset();
}

void DfuRoad::updatedPodComesBackAndCharges()
{
    QSignalSpy progress(&m_bench->screen(), &UIBackEnd::podUpdateProgressChanged);
    QSignalSpy charging(&m_bench->screen(), &UIBackEnd::chargingStateChanged);
    QSignalSpy connection(&m_bench->screen(), &UIBackEnd::podConnectionChanged);
    const Station station(m_bench->screen());
    m_bench->bus().plug(4, UpdateBench::podInBootloader());

    QTRY_COMPARE_WITH_TIMEOUT(charging.size(), 2, kPatientMs);
    QCOMPARE(charging.last(), QVariantList({4, 2}));
    QVERIFY(m_bench->updated(4, m_package));
    QCOMPARE(m_bench->bus().report(4).mode, PodMode::Normal);
    QVector<int> shown;
    for (const QVariantList& change : progress)
        shown.append(change.last().toInt());
    QCOMPARE(shown, QVector<int>({20, 40, 61, 81, 100, 101}));
    QCOMPARE(station.podsConnected(), 1);
    QCOMPARE(connection.size(), 0); // deliberate for a pod that comes in its bootloader

    m_bench->bus().unplug(4);
    QTRY_COMPARE_WITH_TIMEOUT(connection.size(), 1, kPatientMs);
    QCOMPARE(connection.last(), QVariantList({4, false}));
    QCOMPARE(station.podsConnected(), 0);
}

void DfuRoad::podsThatLeave()
{
    QSignalSpy connection(&m_bench->screen(), &UIBackEnd::podConnectionChanged);
    QSignalSpy vanished(&m_bench->bus(), &UsbBus::podVanished);
    const Station station(m_bench->screen());
    m_bench->bus().plug(0, UpdateBench::podInBootloader(PodFault::DisconnectAtByte));
    m_bench->bus().plug(1, UpdateBench::podInBootloader(PodFault::FirmwareAbsent));
    QTRY_VERIFY_WITH_TIMEOUT(vanished.contains({0}), kPatientMs);

    // Put back at once, while the station may still be asking how the update ended.
    PodSettings again = UpdateBench::podInBootloader();
    again.flash = m_bench->bus().flash(0);
    QCOMPARE(again.flash.image.size(), 8192);
    m_bench->bus().plug(0, again);
    QTRY_VERIFY_WITH_TIMEOUT(m_bench->updated(0, m_package), kPatientMs);
    QCOMPARE(m_bench->bus().report(0).bootloader.resumed_at_byte, 8192U);
    QCOMPARE(connection.takeFirst(), QVariantList({0, false}));

    // Updated, but never seen again: its place is given back all the same.
    QTRY_COMPARE_WITH_TIMEOUT(connection.size(), 1, kPatientMs);
    QCOMPARE(connection.last(), QVariantList({1, false}));
    QVERIFY(m_bench->updated(1, m_package));
    QCOMPARE(station.podsConnected(), 1);
}

QTEST_GUILESS_MAIN(DfuRoad)
#include "dfu_road.moc"
