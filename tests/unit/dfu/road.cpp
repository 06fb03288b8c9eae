#include "dfu/podupdater.h"
#include "main/corvane.h"
#include "main/discovery.h"
#include "main/pod.h"
#include "support/podrig.h"
#include "utils/libusbutils.h"

#include <QSignalSpy>
#include <QThread>
#include <QtTest>

#include <future>
#include <limits>
#include <memory>
#include <pthread.h>
#include <utility>

namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 30s;
constexpr int kPatientMs = std::chrono::milliseconds(kPatience).count();
constexpr auto kShortLimit = 100ms;
constexpr int kArrived = LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED;
constexpr int kLeft = LIBUSB_HOTPLUG_EVENT_DEVICE_LEFT;

/// Runs it on the receiver's thread, behind what is queued there. By a signal, since the thread
/// sanitizer is told of the order that these keep.
template <typename Act>
void queueOn(QObject* receiver, Act act)
{
    QObject sender;
    QObject::connect(&sender, &QObject::objectNameChanged, receiver, act, Qt::QueuedConnection);
    sender.setObjectName(QStringLiteral("said"));
}

/// Discovery and the slots on their threads, and pods in their bootloaders.
class Station
{
public:
    using Slot = Corvane::device_slot_ts;

    explicit Station(UIBackEnd& backend,
                     std::chrono::milliseconds return_limit = Discovery::kReturnLimit)
        : m_corvane(backend)
    {
        QObject::connect(&m_corvane, &Corvane::podConnection, &backend,
                         &UIBackEnd::setPodConnection);
        m_discovery = std::make_unique<Discovery>(m_corvane, return_limit);
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
    Q_DISABLE_COPY_MOVE(Station)

    int podsConnected() const { return m_corvane.nb_pods_connected; }
    void report(const UsbDeviceRef& device, int event) { emit m_discovery->hotplug(device, event); }

    /// On discovery's thread, between two rounds of its loop: all that was reported before is done,
    /// and all that `act` reports is done before the loop looks at its limits.
    template <typename Act>
    void inSlot(int idx, Act act)
    {
        std::promise<void> done;
        queueOn(m_discovery.get(), [&] {
            act(m_corvane.device_slots.at(size_t(idx)));
            done.set_value();
        });
        done.get_future().wait();
    }
    UsbDeviceRef device(int idx)
    {
        UsbDeviceRef device;
        inSlot(idx, [&](const Slot& slot) { device = slot.device; });
        return device;
    }

private:
    Corvane m_corvane;
    std::unique_ptr<Discovery> m_discovery;
    QThread m_thread;
};

/// Keeps a pod's worker from all that is queued behind this, until it is released.
class HeldWorker
{
public:
    HeldWorker(Station& station, int idx)
    {
        station.inSlot(idx, [this](const Station::Slot& slot) {
            QObject::connect(slot.pod, &QObject::destroyed,
                             [gone = m_gone_promise] { gone->set_value(); });
            queueOn(slot.pod, [go = m_go.get_future().share()] { go.wait(); });
        });
    }
    ~HeldWorker() { release(); }
    Q_DISABLE_COPY_MOVE(HeldWorker)

    void release()
    {
        if (!std::exchange(m_released, true))
            m_go.set_value();
    }
    /// The pod is no more: all that it had to say was said.
    bool gone() { return m_gone.wait_for(kPatience) == std::future_status::ready; }

private:
    std::promise<void> m_go;
    bool m_released = false;
    std::shared_ptr<std::promise<void>> m_gone_promise = std::make_shared<std::promise<void>>();
    std::future<void> m_gone = m_gone_promise->get_future();
};

/// As long as this lives no thread can be started: none finds room for its stack.
class NoThreads
{
public:
    NoThreads()
    {
        pthread_getattr_default_np(&m_usual);
        pthread_attr_t boundless = m_usual;
        pthread_attr_setstacksize(&boundless, std::numeric_limits<size_t>::max() / 2);
        pthread_setattr_default_np(&boundless);
    }
    ~NoThreads() { pthread_setattr_default_np(&m_usual); }
    Q_DISABLE_COPY_MOVE(NoThreads)

private:
    pthread_attr_t m_usual{};
};

PodSettings emptyPod()
{
    PodSettings settings = PodRig::podInBootloader();
    settings.flash.in_bootloader = false;
    return settings;
}

/// What the screen was told.
struct Seen
{
    explicit Seen(const UIBackEnd& screen)
        : progress(&screen, &UIBackEnd::podSyncProgressChanged)
        , charging(&screen, &UIBackEnd::chargingStateChanged)
        , connection(&screen, &UIBackEnd::podConnectionChanged)
    {
    }

    QSignalSpy progress;
    QSignalSpy charging;
    QSignalSpy connection;
};

/// As its worker does when the pod is to restart.
void tellToRestart(const Station::Slot& slot)
{
    slot.pod->setUpdating(true);
    emit slot.pod->restarting(slot.device);
}

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
    void podThatLeavesAndReturns();
    void placeWaitsForTheWorker();
    void silentWorkerIsOverruled();
    void limitOfRestarts();
    void onlyAnUpdatedPodComesBack();
    void oldPodPaintsNothing();
    void deviceComesOnce();
    void foreignDevicesAreLeftAlone();
    void isUpdatingBeforeItRestarts();
    void placeIsFreeWithoutAThread();

private:
    UsbDeviceRef plugFailing(int idx);

    std::unique_ptr<PodRig> m_rig;
    std::unique_ptr<Seen> m_seen;
    PodRig::Package m_package;
};

void DfuRoad::init()
{
    m_rig = std::make_unique<PodRig>();
    m_seen = std::make_unique<Seen>(m_rig->screen());
    m_package = PodRig::plainPackage(PodRig::podInBootloader().bootloader);
    PodRig::unpack(m_package);
}

void DfuRoad::cleanup()
{
    m_seen.reset();
    m_rig.reset();
}

void DfuRoad::updatedPodComesBackAndCharges()
{
    QSignalSpy percents(&m_rig->screen(), &UIBackEnd::podUpdateProgressChanged);
    const Station station(m_rig->screen());
    m_rig->bus().plug(4, PodRig::podInBootloader());

    QTRY_COMPARE_WITH_TIMEOUT(m_seen->charging.size(), 2, kPatientMs);
    QCOMPARE(m_seen->charging.last(), QVariantList({4, 2}));
    QVERIFY(m_rig->updated(4, m_package));
    QCOMPARE(m_rig->bus().report(4).mode, PodMode::Normal);
    QVector<int> shown;
    for (const QVariantList& change : percents)
        shown.append(change.last().toInt());
    QCOMPARE(shown, QVector<int>({20, 40, 61, 81, 100, 101}));
    QCOMPARE(station.podsConnected(), 1);
    QCOMPARE(m_seen->connection.size(), 0); // deliberate for a pod that comes in its bootloader

    m_rig->bus().unplug(4);
    QTRY_COMPARE_WITH_TIMEOUT(m_seen->connection.size(), 1, kPatientMs);
    QCOMPARE(m_seen->connection.last(), QVariantList({4, false}));
    QCOMPARE(station.podsConnected(), 0);
}

void DfuRoad::podThatLeavesAndReturns()
{
    QSignalSpy vanished(&m_rig->bus(), &UsbBus::podVanished);
    const Station station(m_rig->screen());
    m_rig->bus().plug(0, PodRig::podInBootloader(PodFault::DisconnectAtByte));
    QTRY_VERIFY_WITH_TIMEOUT(vanished.contains({0}), kPatientMs);

    // Put back at once, while the station may still be asking how the update ended.
    PodSettings again = PodRig::podInBootloader();
    again.flash = m_rig->bus().flash(0);
    QCOMPARE(again.flash.image.size(), 8192);
    m_rig->bus().plug(0, again);
    QTRY_VERIFY_WITH_TIMEOUT(m_rig->updated(0, m_package), kPatientMs);
    QCOMPARE(m_rig->bus().report(0).bootloader.resumed_at_byte, 8192U);
    QCOMPARE(m_seen->connection.takeFirst(), QVariantList({0, false}));
    QCOMPARE(station.podsConnected(), 1);
}

/// A pod in its bootloader, which has failed when this returns: its worker is idle. Another device
/// than the one that discovery has, in the same place.
UsbDeviceRef DfuRoad::plugFailing(int idx)
{
    UsbDeviceRef other = m_rig->plug(idx, PodRig::podInBootloader(PodFault::MtuTiny));
    const bool failed = m_seen->progress.wait(kPatientMs);
    return failed ? other : UsbDeviceRef();
}

void DfuRoad::placeWaitsForTheWorker()
{
    Station station(m_rig->screen());
    const UsbDeviceRef next = plugFailing(0);
    const UsbDeviceRef first = station.device(0);
    HeldWorker worker(station, 0);
    station.report(first, kLeft);
    station.report(next, kArrived);
    QCOMPARE(station.device(0).get(), first.get());
    QCOMPARE(station.podsConnected(), 1);

    worker.release();
    QVERIFY(worker.gone());
    QCOMPARE(station.device(0).get(), next.get());
    QCOMPARE(station.podsConnected(), 1);
    QTRY_COMPARE_WITH_TIMEOUT(m_seen->connection.size(), 1, kPatientMs);
    QCOMPARE(m_seen->connection.last(), QVariantList({0, false}));
}

void DfuRoad::silentWorkerIsOverruled()
{
    Station station(m_rig->screen(), kShortLimit);
    m_rig->bus().plug(1, emptyPod());
    QTRY_COMPARE_WITH_TIMEOUT(m_seen->charging.size(), 2, kPatientMs); // begun, full
    m_seen->connection.clear();
    const UsbDeviceRef next = plugFailing(0);
    const UsbDeviceRef first = station.device(0);
    HeldWorker worker(station, 0);
    station.report(first, kLeft);
    station.report(next, kArrived);
    QTRY_COMPARE_WITH_TIMEOUT(m_seen->connection.size(), 1, kPatientMs);
    QCOMPARE(station.device(0).get(), next.get());

    // What it says at last, of a pod that is long gone, is not about the one that sits there now.
    worker.release();
    QVERIFY(worker.gone());
    QCOMPARE(station.device(0).get(), next.get());
    QTRY_COMPARE_WITH_TIMEOUT(m_seen->progress.count({0, -2}), 2,
                              kPatientMs); // its worker is idle, too
    station.inSlot(0, [&](const Station::Slot& slot) { emit slot.pod->restarting(first); });
    station.inSlot(1, tellToRestart);
    QTRY_VERIFY_WITH_TIMEOUT(m_seen->progress.contains({1, -2}),
                             kPatientMs); // a later limit has passed
    station.inSlot(0, [](const Station::Slot& slot) { QVERIFY(slot.pod->getUpdating()); });
    QCOMPARE(station.podsConnected(), 2);
}

void DfuRoad::limitOfRestarts()
{
    Station station(m_rig->screen(), kShortLimit);
    const UsbDeviceRef bootloader = plugFailing(0);
    const UsbDeviceRef updated = m_rig->plug(1, emptyPod());
    m_rig->bus().plug(2, emptyPod());
    m_rig->bus().plug(3, emptyPod());
    QTRY_COMPARE_WITH_TIMEOUT(m_seen->charging.size(), 6, kPatientMs); // each begun, each full
    m_seen->connection.clear();

    // Two come back, one does not hear, one leaves for good; the limits pass in this order.
    for (int idx = 0; idx <= 3; ++idx) {
        station.inSlot(idx, [&](const Station::Slot& slot) {
            tellToRestart(slot);
            if (idx == 0)
                station.report(bootloader, kArrived);
            if (idx == 1)
                station.report(updated, kArrived);
            if (idx == 3)
                station.report(slot.device, kLeft);
        });
    }
    QTRY_COMPARE_WITH_TIMEOUT(m_seen->connection.size(), 1, kPatientMs);
    QCOMPARE(m_seen->connection.last(), QVariantList({3, false}));
    QCOMPARE(station.device(0).get(), bootloader.get());
    QCOMPARE(station.device(1).get(), updated.get());
    QCOMPARE(station.podsConnected(), 3);
    // Those that are back have no limit any more.
    station.inSlot(0, [](const Station::Slot& slot) { QVERIFY(slot.pod->getUpdating()); });
    QVERIFY(!m_seen->progress.contains({1, -2}));

    QTRY_COMPARE_WITH_TIMEOUT(m_seen->progress.last(), QVariantList({2, -2}), kPatientMs);
    m_rig->bus().unplug(2);
    QTRY_COMPARE_WITH_TIMEOUT(m_seen->connection.size(), 2, kPatientMs);
    QCOMPARE(m_seen->connection.last(), QVariantList({2, false}));
}

void DfuRoad::onlyAnUpdatedPodComesBack()
{
    Station station(m_rig->screen());
    const UsbDeviceRef other = plugFailing(0);
    const UsbDeviceRef first = station.device(0);
    station.inSlot(0, [](const Station::Slot& slot) { slot.pod->setUpdating(false); });
    station.report(other, kArrived);
    QCOMPARE(station.device(0).get(), first.get());

    station.report(other, kLeft);
    QCOMPARE(station.device(0).get(), first.get());

    // And its removal needs no word of the worker.
    const HeldWorker worker(station, 0);
    station.report(first, kLeft);
    QVERIFY(station.device(0).get() == nullptr);
    QCOMPARE(station.podsConnected(), 0);
}

void DfuRoad::oldPodPaintsNothing()
{
    Station station(m_rig->screen());
    m_rig->bus().plug(0, PodRig::podInBootloader(PodFault::MtuTiny));
    QTRY_VERIFY_WITH_TIMEOUT(m_seen->progress.contains({0, -2}), kPatientMs);
    HeldWorker worker(station, 0);
    station.inSlot(0, [&](const Station::Slot& slot) {
        slot.pod->setUpdating(false);
        Pod* const old = slot.pod;
        queueOn(old, [old] {
            emit old->setSyncProgress(0, 55);
            emit old->setUpdateProgress(0, 55);
        });
    });
    m_rig->bus().unplug(0);
    QTRY_COMPARE_WITH_TIMEOUT(station.podsConnected(), 0, kPatientMs);
    worker.release();
    QVERIFY(worker.gone());
    QCoreApplication::processEvents();
    QVERIFY(!m_seen->progress.contains({0, 55}));
}

/// libusb reports twice what came while it started.
void DfuRoad::deviceComesOnce()
{
    Station station(m_rig->screen());
    plugFailing(0);
    const UsbDeviceRef device = station.device(0);
    std::atomic<int> returns{0};
    station.inSlot(0, [&](const Station::Slot& slot) {
        QVERIFY(slot.pod->getUpdating());
        QObject::connect(
            slot.pod, &Pod::launchDfu, slot.pod, [&] { ++returns; }, Qt::DirectConnection);
    });
    station.report(device, kArrived);
    station.inSlot(0, [](const Station::Slot&) {});
    QCOMPARE(returns.load(), 0);
    QCOMPARE(station.podsConnected(), 1);
}

/// In no place, or no pod.
void DfuRoad::foreignDevicesAreLeftAlone()
{
    const UsbDeviceRef root_hub = m_rig->find({});
    QVERIFY(root_hub.get() != nullptr && Discovery::getIdx(root_hub.get()) < 0);
    Station station(m_rig->screen());
    PodSettings foreign = emptyPod();
    foreign.foreign_product = 0x521C;
    m_rig->plug(3, foreign);
    m_rig->plug(4, emptyPod());
    QTRY_COMPARE_WITH_TIMEOUT(station.podsConnected(), 1, kPatientMs);
    station.report(root_hub, kArrived);
    QVERIFY(station.device(4).get() != nullptr);
    QVERIFY(station.device(3).get() == nullptr);
}

void DfuRoad::isUpdatingBeforeItRestarts()
{
    std::atomic<const Pod*> told{nullptr};
    std::atomic<bool> updating{false};
    // On the bus's thread, which has taken the command and not yet said so.
    connect(
        &m_rig->bus(), &UsbBus::podEvent, &m_rig->bus(),
        [&] { updating = told.load() != nullptr && told.load()->getUpdating(); },
        Qt::DirectConnection);
    const UsbDeviceRef device = m_rig->plug(0, emptyPod());
    Pod pod(0, device, m_rig->screen());
    UsbHandle handle;
    LibUsbUtils().openDevice(device.get(), handle.receive());
    pod.setDevHandle(std::move(handle));
    told = &pod;
    PodUpdater::putInDfu(pod);
    QVERIFY(updating);
}

void DfuRoad::placeIsFreeWithoutAThread()
{
    Station station(m_rig->screen());
    m_rig->bus().plug(0, emptyPod());
    QTRY_COMPARE_WITH_TIMEOUT(m_seen->charging.size(), 2, kPatientMs); // begun, full
    const UsbDeviceRef device = station.device(0);
    station.report(device, kLeft);
    {
        QTest::ignoreMessage(QtCriticalMsg, "No thread for the pod, index: 0");
        const NoThreads no_threads;
        station.report(device, kArrived);
        station.inSlot(0, [](const Station::Slot& slot) { QVERIFY(!slot.occupied()); });
        QCOMPARE(station.podsConnected(), 0);
    }
    station.report(device, kArrived);
    QCOMPARE(station.device(0).get(), device.get());
    QCOMPARE(station.podsConnected(), 1);
}

QTEST_GUILESS_MAIN(DfuRoad)
#include "road.moc"
