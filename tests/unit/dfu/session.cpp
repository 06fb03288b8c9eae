#include "dfu/dfuexception.h"
#include "dfu/dfutransportserial.h"
#include "main/pod.h"
#include "pod/initpacket.h"
#include "support/podrig.h"
#include "support/testfiles.h"
#include "utils/libusbutils.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QThread>
#include <QtTest>

#include <sys/resource.h>

#include <algorithm>
#include <limits>
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

/// The most memory that this process has ever had at once.
qint64 peakBytes()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss * qint64(1024);
}

} // namespace

Q_DECLARE_METATYPE(PodFault)

/// The station's side of an update against the simulated bootloader, over the real libusb.
class DfuSession : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_rig = std::make_unique<PodRig>(); }
    void cleanup() { m_rig.reset(); }

    void anyImageArrivesWhole();
    void longestWriteFitsTheMtu();
    void faultyBootloaders_data();
    void faultyBootloaders();
    void resumes();
    void cannotResume();
    void halfAnInitPacketIsSentAgainInFull();
    void foreignInitPacketsAreReplaced();
    void largeFilesAreNotHeldInMemory_data();
    void largeFilesAreNotHeldInMemory();
    void packagesWithoutAnImage_data();
    void packagesWithoutAnImage();
    void stopRequestEndsAnUpdate_data();
    void stopRequestEndsAnUpdate();
    void updatesLeaveNothingOpen();

private:
    using Limit = std::chrono::milliseconds;
    static QByteArray update(Pod& pod, Limit reply_limit = DfuTransportSerial::kReplyLimit);
    QByteArray update(const PodSettings& settings, const PodRig::Package& package,
                      Limit reply_limit = DfuTransportSerial::kReplyLimit);

    std::unique_ptr<PodRig> m_rig;
};

/// The text of its failure; empty when it went well.
QByteArray DfuSession::update(Pod& pod, Limit reply_limit)
{
    UsbHandle handle;
    LibUsbUtils().configACM(pod.getDev(), handle.receive());
    pod.setDevHandle(std::move(handle));
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

/// The same of a pod that is plugged in now.
QByteArray DfuSession::update(const PodSettings& settings, const PodRig::Package& package,
                              Limit reply_limit)
{
    PodRig::unpack(package);
    Pod pod(kSlot, m_rig->plug(kSlot, settings), m_rig->screen());
    return update(pod, reply_limit);
}

void DfuSession::anyImageArrivesWhole()
{
    constexpr int kCases = 300;
    std::mt19937 random(20);
    const auto upTo = [&random](int most) { return 1 + int(random() % quint32(most)); };
    int rejected = 0;
    for (int at = 0; at < kCases; ++at) {
        PodSettings settings = PodRig::podInBootloader();
        settings.bootloader.mtu_bytes = quint16(at % 3 == 0 ? 4 + upTo(60) : 4 + upTo(4092));
        settings.bootloader.limits.data_bytes = quint32(upTo(8192));
        const int chunk_bytes = (settings.bootloader.mtu_bytes - 1) / 2 - 1;
        const int most_bytes =
            std::min(chunk_bytes * 25, int(settings.bootloader.limits.data_bytes) * 6);
        PodRig::Package package{testfiles::noise(quint32(random()), upTo(most_bytes)), {}};
        package.init =
            InitPacket::describing(package.image, testfiles::noise(quint32(random()), upTo(400)))
                .toBytes();
        const bool escaped = PodRig::aReplyHoldsEscape(package, settings.bootloader);
        const QByteArray failure =
            update(settings, package, escaped ? kShortWait : DfuTransportSerial::kReplyLimit);
        QVERIFY2(failure.isEmpty() != escaped, failure);
        QCOMPARE(m_rig->updated(kSlot, package), !escaped);
        QCOMPARE(escaped ? 0 : m_rig->refusals(kSlot), 0);
        rejected += escaped;
        m_rig->unplug(kSlot);
    }
    QVERIFY(rejected > 10 && rejected < kCases / 2);
}

/// With every byte escaped, and an MTU that leaves one over.
void DfuSession::longestWriteFitsTheMtu()
{
    PodSettings settings = PodRig::podInBootloader();
    settings.bootloader.mtu_bytes = 65;
    PodRig::Package package{QByteArray(300, '\xC0'), {}};
    package.init = InitPacket::describing(package.image).toBytes();
    QVERIFY(!PodRig::aReplyHoldsEscape(package, settings.bootloader));
    QCOMPARE(update(settings, package), QByteArray());
    QVERIFY(m_rig->updated(kSlot, package));
    QCOMPARE(m_rig->refusals(kSlot), 0);
    // 115200 bits a second, 8 data bits, no parity, 1 stop bit; DTR and RTS.
    QCOMPARE(m_rig->bus().report(kSlot).line.coding, QByteArray::fromHex("00C20100000008"));
    QCOMPARE(m_rig->bus().report(kSlot).line.state, 3);
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
    row(PodFault::ObjectSizeZero, "Maximum object size is 0");
    row(PodFault::ReplyInDrops, "Error on get message");
    for (const PodFault fault :
         {PodFault::ReplyLost, PodFault::WrongOpcode, PodFault::ExtendedError,
          PodFault::CrcWrongOnce, PodFault::OffsetWrong, PodFault::DisconnectAtByte,
          PodFault::OffsetBeyond, PodFault::FrameWithoutEnd, PodFault::LeavesUnheard})
        row(fault, "Failed to send firmware");
}

void DfuSession::faultyBootloaders()
{
    QFETCH(PodFault, fault);
    QFETCH(QByteArray, failure);
    const PodSettings settings = PodRig::podInBootloader(fault);
    BootloaderSettings effective = settings.bootloader;
    if (fault == PodFault::ObjectSizeOdd)
        effective.limits.data_bytes = 1000;
    const PodRig::Package package = PodRig::plainPackage(effective);
    const bool unending = fault == PodFault::ReplyLost || fault == PodFault::ReplyInDrops;
    QCOMPARE(update(settings, package, unending ? kShortWait : DfuTransportSerial::kReplyLimit),
             failure);
    // Of a pod that leaves unheard the station cannot know that it has everything.
    QCOMPARE(m_rig->updated(kSlot, package), failure.isEmpty() || fault == PodFault::LeavesUnheard);
}

void DfuSession::resumes()
{
    const auto check = [this](const char* what, int executed_bytes, int half_bytes, int sent_bytes,
                              PodFault fault = PodFault::None) {
        PodSettings settings = PodRig::podInBootloader(fault);
        const PodRig::Package package = PodRig::plainPackage(settings.bootloader);
        settings.flash.init_packet = package.init;
        settings.flash.image = package.image.left(executed_bytes);
        settings.bootloader.half_received = package.image.mid(executed_bytes, half_bytes);
        PodRig::unpack(package);

        Pod pod(kSlot, m_rig->plug(kSlot, settings), m_rig->screen());
        const QSignalSpy shown(&pod, &Pod::setUpdateProgress);
        QVERIFY2(update(pod).isEmpty() && m_rig->updated(kSlot, package), what);
        QCOMPARE(shown.last().last().toInt(), 100);
        const quint64 image_bytes = m_rig->bus().report(kSlot).bootloader.image_bytes;
        QVERIFY2(image_bytes == quint64(sent_bytes), what);
        QCOMPARE(m_rig->refusals(kSlot), 0);
        m_rig->unplug(kSlot);
    };
    check("whole objects", 8192, 0, 11'808);
    check("within an object", 4096, 1000, 14'904);
    check("within the first", 0, 1, 19'999);
    check("within the last", 16384, 100, 3516);
    check("an object not executed yet", 4096, 4096, 11'808);
    check("all but the last execution", 16384, 3616, 0);
    // What is left of the object arrives wrong: all of it is sent anew.
    check("within an object, and wrong", 8192, 1000, 3096 + 11'808, PodFault::CrcWrongOnce);
    check("within the last, and wrong", 16384, 100, 3516 + 3616, PodFault::OffsetWrong);
}

void DfuSession::cannotResume()
{
    const auto check = [this](const char* what, int executed_bytes, int half_bytes,
                              int image_bytes) {
        PodSettings settings = PodRig::podInBootloader();
        PodRig::Package package =
            PodRig::plainPackage(settings.bootloader, std::max(image_bytes, 1));
        settings.flash.init_packet = package.init;
        settings.flash.image = QByteArray(executed_bytes, 'g');
        settings.bootloader.half_received = QByteArray(half_bytes, 'g');
        package.image.truncate(image_bytes);
        QVERIFY2(update(settings, package) == "Failed to send firmware", what);
        QVERIFY2(!m_rig->updated(kSlot, package), what);
        m_rig->unplug(kSlot);
    };
    // The rule goes on at the remainder itself, where the bootloader is not.
    check("other bytes", 4096, 1000, 20'000);
    check("other bytes, whole objects", 8192, 0, 20'000);
    // And when the remainder is the whole image, there is nothing to go on with.
    check("as many bytes of another image", 0, 1000, 1000);
    check("an empty image", 0, 0, 0);
}

void DfuSession::halfAnInitPacketIsSentAgainInFull()
{
    const PodSettings settings = PodRig::podInBootloader();
    const PodRig::Package package = PodRig::plainPackage(settings.bootloader);
    PodRig::unpack(package);
    const UsbDeviceRef device = m_rig->plug(kSlot, settings);
    {
        UsbHandle handle;
        LibUsbUtils().configACM(device.get(), handle.receive());
        slip::Slip codec;
        const QByteArray create =
            QByteArray("\x01\x01") + PodRig::word(quint32(package.init.size()));
        for (const QByteArray& request : {create, "\x08" + package.init.left(10)}) {
            codec.encodeData({request.begin(), request.end()});
            auto& frame = codec.getEncodedData();
            LibUsbUtils().writeData(handle.get(), frame.data(), int(frame.size()), 10'000);
        }
        std::array<uint8_t, 64> created{};
        QCOMPARE(LibUsbUtils().readData(handle.get(), created.data(), int(created.size()), 10'000),
                 4);
    }
    // More than the object holds: the bootloader refuses the write, and the station hears of it
    // where it expects the checksum.
    Pod pod(kSlot, device, m_rig->screen());
    QCOMPARE(update(pod), QByteArray("Error operation"));
    QVERIFY(m_rig->refusals(kSlot) > 0);
}

void DfuSession::foreignInitPacketsAreReplaced()
{
    for (const int more_bytes : {0, -5, 5}) { // than the package's, in the pod
        PodSettings settings = PodRig::podInBootloader();
        PodRig::Package package = PodRig::plainPackage(settings.bootloader);
        package.init = InitPacket::describing(package.image, "version 2").toBytes();
        settings.flash.init_packet = QByteArray(package.init.size() + more_bytes, 'f');
        QCOMPARE(update(settings, package), QByteArray());
        QVERIFY(m_rig->updated(kSlot, package));
        m_rig->unplug(kSlot);
    }
}

void DfuSession::largeFilesAreNotHeldInMemory_data()
{
    QTest::addColumn<QByteArray>("failure");
    QTest::newRow("dfu/app.dat") << QByteArray("Init too big");
    QTest::newRow("dfu/app.bin") << QByteArray("Failed to send firmware"); // larger than the pod
}

void DfuSession::largeFilesAreNotHeldInMemory()
{
    QFETCH(QByteArray, failure);
    constexpr qint64 kLargeBytes = qint64(64) * 1024 * 1024;
    PodSettings settings = PodRig::podInBootloader();
    settings.bootloader.limits.data_bytes = std::numeric_limits<quint32>::max();
    PodRig::unpack(PodRig::plainPackage({}, 1000));
    QVERIFY(QFile::resize(QLatin1String(QTest::currentDataTag()), kLargeBytes));
    Pod pod(kSlot, m_rig->plug(kSlot, settings), m_rig->screen());
    const qint64 before_bytes = peakBytes();
    QCOMPARE(update(pod), failure);
    QVERIFY(peakBytes() - before_bytes < kLargeBytes / 2);
    // The image is refused as one object; a packet that is too big is not even begun.
    QCOMPARE(m_rig->refusals(kSlot), failure == "Init too big" ? 0 : 1);
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
    const PodSettings settings = PodRig::podInBootloader();
    const PodRig::Package package = PodRig::plainPackage(settings.bootloader);
    PodRig::unpack(package);
    QVERIFY(QFile::remove(missing));
    const UsbDeviceRef device = m_rig->plug(kSlot, settings);
    Pod pod(kSlot, device, m_rig->screen());
    const QSignalSpy shown(&pod, &Pod::setSyncProgress);
    pod.startDfu(device);
    QVERIFY(!pod.getUpdateDone() && !m_rig->updated(kSlot, package));
    QCOMPARE(shown.size(), 1);
    QCOMPARE(shown.first(), QVariantList({kSlot, -2}));

    // The same pod, tried again with what it needs.
    PodRig::unpack(package);
    pod.startDfu(device);
    QVERIFY(pod.getUpdateDone() && m_rig->updated(kSlot, package));
    QCOMPARE(shown.size(), 1);
}

void DfuSession::stopRequestEndsAnUpdate_data()
{
    QTest::addColumn<PodFault>("fault");
    QTest::newRow("before it begins") << PodFault::None;
    QTest::newRow("within a reply in drops") << PodFault::ReplyInDrops;
}

void DfuSession::stopRequestEndsAnUpdate()
{
    QFETCH(PodFault, fault);
    const bool at_once = fault == PodFault::None;
    const PodSettings settings = PodRig::podInBootloader(fault);
    PodRig::unpack(PodRig::plainPackage(settings.bootloader));
    Pod pod(kSlot, m_rig->plug(kSlot, settings), m_rig->screen());
    QByteArray failure;
    const std::unique_ptr<QThread> worker(QThread::create([&] {
        if (at_once)
            QThread::currentThread()->requestInterruption();
        failure = update(pod);
    }));
    worker->start();
    // Once its first request is out, what it does next is to read.
    while (!at_once && m_rig->bus().report(kSlot).bootloader.bus_bytes == 0)
        QThread::yieldCurrentThread();
    worker->requestInterruption();
    QVERIFY(worker->wait());
    QCOMPARE(failure, QByteArray("Update interrupted"));
    QCOMPARE(m_rig->bus().report(kSlot).bootloader.bus_bytes == 0, at_once);
}

void DfuSession::updatesLeaveNothingOpen()
{
    const PodSettings settings = PodRig::podInBootloader();
    const PodRig::Package package = PodRig::plainPackage(settings.bootloader, 2000);
    PodRig::unpack(package);
    Pod pod(kSlot, UsbDeviceRef(), m_rig->screen());
    for (int round = 0; round < 30; ++round) {
        pod.startDfu(m_rig->plug(kSlot, settings));
        QVERIFY(pod.getUpdateDone() && m_rig->updated(kSlot, package));
        QCOMPARE(openHandles(), 1);
        m_rig->unplug(kSlot);
    }
}

QTEST_GUILESS_MAIN(DfuSession)
#include "session.moc"
