#include "dfu/dfuexception.h"
#include "dfu/dfutransportserial.h"
#include "main/pod.h"
#include "pod/initpacket.h"
#include "support/updatebench.h"
#include "utils/libusbutils.h"

#include <QDir>
#include <QSignalSpy>
#include <QThread>
#include <QtTest>

#include <algorithm>
#include <random>

using namespace std::chrono_literals;

namespace {

constexpr int kSlot = 0;
/// Where a reply is known not to come, and only the end of the wait is of interest.
constexpr auto kShortWait = 50ms;

/// Of all devices. The simulated bus, in this process too, holds each node open once itself.
int openHandles()
{
    QSet<QString> nodes;
    int open_nodes = 0;
    const QFileInfoList open = QDir(QStringLiteral("/proc/self/fd")).entryInfoList(QDir::System);
    for (const QFileInfo& descriptor : open) {
        if (!descriptor.symLinkTarget().contains(QLatin1String("/dev/bus/usb/")))
            continue;
        nodes.insert(descriptor.symLinkTarget());
        ++open_nodes;
    }
    return open_nodes - nodes.size();
}

} // namespace

Q_DECLARE_METATYPE(PodFault)

/// The station's side of an update against the simulated bootloader, over the real libusb.
class DfuSession : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void anyImageArrivesWhole();
    void faultyBootloaders_data();
    void faultyBootloaders();
    void resumes_data();
    void resumes();
    void halfAnInitPacketIsSentAgainInFull();
    void packagesWithoutAnImage_data();
    void packagesWithoutAnImage();
    void stopRequestEndsAnUpdate();
    void updatesLeaveNothingOpen();

private:
    QByteArray update(Pod& pod, std::chrono::milliseconds reply_limit);

    std::unique_ptr<UpdateBench> m_bench;
};

void DfuSession::init()
{
    m_bench = std::make_unique<UpdateBench>();
}

void DfuSession::cleanup()
{
    m_bench.reset();
}

/// The text of its failure; empty when it went well.
QByteArray DfuSession::update(Pod& pod, std::chrono::milliseconds reply_limit)
{
    libusb_device_handle* handle = nullptr;
    LibUsbUtils().configACM(pod.getDev(), handle);
    pod.setDevHandle(handle);
    try {
        DfuTransportSerial transport(pod, reply_limit);
        transport.open();
        transport.send_init_packet("dfu/app.dat");
        transport.send_firmware("dfu/app.bin");
    } catch (const DfuException& e) {
        return e.what();
    } catch (const std::exception&) {
        return "bare exception";
    }
    return {};
}

void DfuSession::anyImageArrivesWhole()
{
    constexpr int kCases = 300;
    std::mt19937 random(20);
    const auto upTo = [&random](int most) { return 1 + int(random() % quint32(most)); };
    int rejected = 0;
    for (int at = 0; at < kCases; ++at) {
        PodSettings settings = UpdateBench::podInBootloader();
        settings.bootloader.mtu_bytes = quint16(at % 3 == 0 ? 4 + upTo(60) : 4 + upTo(4092));
        settings.bootloader.limits.data_bytes = quint32(upTo(8192));
        const int chunk_bytes = (settings.bootloader.mtu_bytes - 1) / 2 - 1;
        const int most_bytes =
            std::min(chunk_bytes * 25, int(settings.bootloader.limits.data_bytes) * 6);
        UpdateBench::Package package{UpdateBench::randomBytes(random, upTo(most_bytes)), {}};
        package.init =
            InitPacket::describing(package.image, UpdateBench::randomBytes(random, upTo(400)))
                .toBytes();
        UpdateBench::unpack(package);
        const bool misread = UpdateBench::aReplyIsMisread(package, settings.bootloader);

        Pod pod(kSlot, m_bench->plug(kSlot, settings), m_bench->screen());
        const QByteArray failure =
            update(pod, misread ? kShortWait : DfuTransportSerial::kReplyLimit);
        QVERIFY2(failure.isEmpty() != misread, failure);
        QCOMPARE(m_bench->updated(kSlot, package), !misread);
        QCOMPARE(misread ? 0 : m_bench->refusals(kSlot), 0);
        rejected += misread;
        m_bench->unplug(kSlot);
    }
    QVERIFY(rejected > 10 && rejected < kCases / 2);
}

void DfuSession::faultyBootloaders_data()
{
    QTest::addColumn<PodFault>("fault");
    QTest::addColumn<QByteArray>("failure");
    const auto row = [](PodFault fault, const char* failure = "") {
        QTest::newRow(qPrintable(podFaultName(fault))) << fault << QByteArray(failure);
    };
    row(PodFault::None);
    row(PodFault::ReplyCut);
    row(PodFault::TwoReplies);
    row(PodFault::MtuHuge);
    row(PodFault::ObjectSizeOdd);
    row(PodFault::MtuTiny, "MTU too small");
    for (const PodFault fault :
         {PodFault::ReplyLost, PodFault::WrongOpcode, PodFault::ExtendedError,
          PodFault::CrcWrongOnce, PodFault::OffsetWrong, PodFault::DisconnectAtByte,
          PodFault::FrameWithoutEnd})
        row(fault, "Failed to send firmware");
}

void DfuSession::faultyBootloaders()
{
    QFETCH(PodFault, fault);
    QFETCH(QByteArray, failure);
    const PodSettings settings = UpdateBench::podInBootloader(fault);
    BootloaderSettings effective = settings.bootloader;
    if (fault == PodFault::ObjectSizeOdd)
        effective.limits.data_bytes = 1000;
    const UpdateBench::Package package = UpdateBench::plainPackage(effective);
    UpdateBench::unpack(package);
    Pod pod(kSlot, m_bench->plug(kSlot, settings), m_bench->screen());
    QCOMPARE(
        update(pod, fault == PodFault::ReplyLost ? kShortWait : DfuTransportSerial::kReplyLimit),
        failure);
    QCOMPARE(m_bench->updated(kSlot, package), failure.isEmpty());
}

void DfuSession::resumes_data()
{
    QTest::addColumn<int>("executed_bytes");
    QTest::addColumn<int>("half_bytes");
    QTest::addColumn<bool>("garbage"); // instead of the image's bytes
    QTest::addColumn<int>("image_bytes");
    QTest::addColumn<QByteArray>("failure");
    const QByteArray failed("Failed to send firmware");
    QTest::newRow("whole objects") << 8192 << 0 << false << 20'000 << QByteArray();
    QTest::newRow("within an object") << 4096 << 1000 << false << 20'000 << QByteArray();
    QTest::newRow("within the first") << 0 << 1 << false << 20'000 << QByteArray();
    QTest::newRow("within the last") << 16384 << 100 << false << 20'000 << QByteArray();
    QTest::newRow("an object not executed yet") << 4096 << 4096 << false << 20'000 << QByteArray();
    QTest::newRow("all but the last execution") << 16384 << 3616 << false << 20'000 << QByteArray();
    // The rule goes on at the remainder itself, where the bootloader is not.
    QTest::newRow("other bytes") << 4096 << 1000 << true << 20'000 << failed;
    QTest::newRow("other bytes, whole objects") << 8192 << 0 << true << 20'000 << failed;
    // And when the remainder is the whole image, there is nothing to go on with.
    QTest::newRow("as many bytes of another image") << 0 << 1000 << true << 1000 << failed;
    QTest::newRow("an empty image") << 0 << 0 << false << 0 << failed;
}

void DfuSession::resumes()
{
    QFETCH(int, executed_bytes);
    QFETCH(int, half_bytes);
    QFETCH(bool, garbage);
    QFETCH(int, image_bytes);
    QFETCH(QByteArray, failure);
    PodSettings settings = UpdateBench::podInBootloader();
    UpdateBench::Package package =
        UpdateBench::plainPackage(settings.bootloader, std::max(image_bytes, 1));
    settings.flash.init_packet = package.init;
    const QByteArray there = garbage ? QByteArray(20'000, 'g') : package.image;
    settings.flash.image = there.left(executed_bytes);
    settings.bootloader.half_received = there.mid(executed_bytes, half_bytes);
    package.image.truncate(image_bytes);
    UpdateBench::unpack(package);

    Pod pod(kSlot, m_bench->plug(kSlot, settings), m_bench->screen());
    const QSignalSpy shown(&pod, &Pod::setUpdateProgress);
    QCOMPARE(update(pod, DfuTransportSerial::kReplyLimit), failure);
    QCOMPARE(m_bench->updated(kSlot, package), failure.isEmpty());
    if (!failure.isEmpty())
        return;
    QCOMPARE(shown.last().last().toInt(), 100);
    const PodReport report = m_bench->bus().report(kSlot);
    QCOMPARE(report.bootloader.image_bytes, quint64(image_bytes - executed_bytes - half_bytes));
    QCOMPARE(m_bench->refusals(kSlot), 0);
}

void DfuSession::halfAnInitPacketIsSentAgainInFull()
{
    const PodSettings settings = UpdateBench::podInBootloader();
    const UpdateBench::Package package = UpdateBench::plainPackage(settings.bootloader);
    UpdateBench::unpack(package);
    const UsbDeviceRef device = m_bench->plug(kSlot, settings);
    {
        libusb_device_handle* handle = nullptr;
        LibUsbUtils().configACM(device.get(), handle);
        slip::Slip codec;
        const QByteArray create =
            QByteArray("\x01\x01") + UpdateBench::word(quint32(package.init.size()));
        for (const QByteArray& request : {create, "\x08" + package.init.left(10)}) {
            codec.encodeData({request.begin(), request.end()});
            auto& frame = codec.getEncodedData();
            LibUsbUtils().writeData(handle, frame.data(), int(frame.size()), 10'000);
        }
        std::array<uint8_t, 64> created{};
        QCOMPARE(LibUsbUtils().readData(handle, created.data(), int(created.size()), 10'000), 4);
        LibUsbUtils().forceCloseDevice(handle);
    }
    // More than the object holds: the bootloader refuses the write, and the station hears of it
    // where it expects the checksum.
    Pod pod(kSlot, device, m_bench->screen());
    QCOMPARE(update(pod, DfuTransportSerial::kReplyLimit), QByteArray("Error operation"));
    QVERIFY(m_bench->refusals(kSlot) > 0);
}

void DfuSession::packagesWithoutAnImage_data()
{
    QTest::addColumn<QString>("missing");
    for (const char* name : {"manifest.json", "app.bin", "app.dat"})
        QTest::newRow(name) << QStringLiteral("dfu/") + QLatin1String(name);
}

void DfuSession::packagesWithoutAnImage()
{
    QFETCH(QString, missing);
    const PodSettings settings = UpdateBench::podInBootloader();
    const UpdateBench::Package package = UpdateBench::plainPackage(settings.bootloader);
    UpdateBench::unpack(package);
    QVERIFY(QFile::remove(missing));
    const UsbDeviceRef device = m_bench->plug(kSlot, settings);
    Pod pod(kSlot, device, m_bench->screen());
    const QSignalSpy shown(&pod, &Pod::setSyncProgress);
    pod.startDfu(device);
    QVERIFY(!pod.getUpdateDone() && !m_bench->updated(kSlot, package));
    QCOMPARE(shown.size(), 1);
    QCOMPARE(shown.first(), QVariantList({kSlot, -2}));

    // The same pod, tried again with what it needs.
    UpdateBench::unpack(package);
    pod.startDfu(device);
    QVERIFY(pod.getUpdateDone() && m_bench->updated(kSlot, package));
    QCOMPARE(shown.size(), 1);
}

void DfuSession::stopRequestEndsAnUpdate()
{
    const PodSettings settings = UpdateBench::podInBootloader();
    UpdateBench::unpack(UpdateBench::plainPackage(settings.bootloader));
    Pod pod(kSlot, m_bench->plug(kSlot, settings), m_bench->screen());
    QByteArray failure;
    const std::unique_ptr<QThread> worker(QThread::create([&] {
        QThread::currentThread()->requestInterruption();
        failure = update(pod, DfuTransportSerial::kReplyLimit);
    }));
    worker->start();
    QVERIFY(worker->wait());
    QCOMPARE(failure, QByteArray("Update interrupted"));
    QCOMPARE(m_bench->bus().report(kSlot).bootloader.bus_bytes, quint64(0));
}

void DfuSession::updatesLeaveNothingOpen()
{
    const PodSettings settings = UpdateBench::podInBootloader();
    const UpdateBench::Package package = UpdateBench::plainPackage(settings.bootloader, 2000);
    UpdateBench::unpack(package);
    Pod pod(kSlot, UsbDeviceRef(), m_bench->screen());
    for (int round = 0; round < 30; ++round) {
        pod.startDfu(m_bench->plug(kSlot, settings));
        QVERIFY(pod.getUpdateDone() && m_bench->updated(kSlot, package));
        QCOMPARE(openHandles(), 1);
        m_bench->unplug(kSlot);
    }
}

QTEST_GUILESS_MAIN(DfuSession)
#include "dfu_session.moc"
