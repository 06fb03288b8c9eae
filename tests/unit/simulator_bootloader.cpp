#include "pod/initpacket.h"
#include "pod/podmodel.h"
#include "pod/replyforecast.h"

#include <QCryptographicHash>
#include <QtEndian>
#include <QtTest>

#include <zlib.h>

namespace {

const QByteArray kOk("\x01");
const QByteArray kSelectData("\x06\x02");
const QByteArray kChecksum(1, '\x03');
const QByteArray kExecute(1, '\x04');

QByteArray imageOf(int size_bytes)
{
    QByteArray image(size_bytes, '\0');
    Recording(5, quint32(size_bytes)).read(0, image.data(), size_bytes);
    return image;
}

QByteArray sha256(const QByteArray& bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
}

QByteArray word(quint32 value)
{
    QByteArray bytes(4, '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

/// As a checksum reply says it.
QByteArray positionAfter(const QByteArray& bytes)
{
    const auto* data = reinterpret_cast<const Bytef*>(bytes.constData());
    return word(quint32(bytes.size())) + word(quint32(::crc32(0, data, uInt(bytes.size()))));
}

QByteArray create(char type, int size_bytes)
{
    return QByteArray(1, '\x01') + type + word(quint32(size_bytes));
}

QByteArray write(const QByteArray& data)
{
    return '\x08' + data;
}

/// The other end of the wire, as simple as it can be. Device: a Bootloader or a PodModel.
template <typename Device>
class Host
{
public:
    explicit Host(Device& device)
        : m_device(device)
    {
    }

    void tell(const QByteArray& request) { m_device.receive(slipEncoded(request)); }

    /// The result and payload of the next reply to this request; empty when none comes.
    QByteArray hear(char request)
    {
        for (int reads = 0; reads < 3; ++reads) {
            std::array<char, 64> bytes{};
            const int length = m_device.send(bytes.data(), int(bytes.size()));
            m_heard.append(bytes.data(), length);
            std::optional<SlipFrame> last;
            for (int at = 0; at < length; ++at)
                last = m_decoder.add(bytes.at(size_t(at)));
            if (last)
                return last->payload.startsWith(QByteArray(1, '\x60') + request)
                           ? last->payload.mid(2)
                           : QByteArray("another request");
        }
        return {};
    }

    QByteArray ask(const QByteArray& request)
    {
        tell(request);
        return hear(request.at(0));
    }

    /// Writes as long as a frame may be whatever its bytes are, then asks for the checksum.
    QByteArray stream(const QByteArray& bytes, int mtu_bytes)
    {
        const int chunk_bytes = (mtu_bytes - 1) / 2 - 1;
        for (int from = 0; from < bytes.size(); from += chunk_bytes)
            tell(write(bytes.mid(from, chunk_bytes)));
        return ask(kChecksum);
    }

    bool sendInit(const QByteArray& init)
    {
        return ask(create(1, init.size())) == kOk &&
               stream(init, m_mtu_bytes) == kOk + positionAfter(init) && ask(kExecute) == kOk;
    }

    /// From the given byte on; false at the first reply that is not as it should be.
    bool sendImage(const QByteArray& image, int from = 0)
    {
        const QByteArray selected = ask(kSelectData);
        if (selected.size() != 13)
            return false;
        const int object_bytes = int(qFromLittleEndian<quint32>(selected.constData() + 1));
        if (object_bytes == 0)
            return false;
        for (; from < image.size(); from += object_bytes) {
            const QByteArray object = image.mid(from, object_bytes);
            const QByteArray expected = kOk + positionAfter(image.left(from + object.size()));
            if (ask(create(2, object.size())) != kOk || stream(object, m_mtu_bytes) != expected ||
                ask(kExecute) != kOk)
                return false;
        }
        return true;
    }

    bool update(const QByteArray& image)
    {
        const QByteArray mtu = ask("\x07");
        if (mtu.size() != 3)
            return false;
        m_mtu_bytes = qFromLittleEndian<quint16>(mtu.constData() + 1);
        if (m_mtu_bytes < 5)
            return false;
        return sendInit(InitPacket::describing(image).toBytes()) && sendImage(image);
    }

    /// Every byte of every reply.
    const QByteArray& heard() const { return m_heard; }

private:
    Device& m_device;
    QByteArray m_heard;
    SlipDecoder m_decoder;
    int m_mtu_bytes = 131;
};

QVector<SlipFrame> decoded(const QByteArray& wire)
{
    SlipDecoder decoder;
    QVector<SlipFrame> frames;
    for (const char byte : wire)
        if (const auto frame = decoder.add(byte))
            frames.append(*frame);
    return frames;
}

PodFlash inBootloader()
{
    PodFlash flash;
    flash.in_bootloader = true;
    return flash;
}

} // namespace

class SimulatorBootloader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void framesAsRfc1055HasThem();
    void takesAnyImageAtAnySize_data();
    void takesAnyImageAtAnySize();
    void refuses_data();
    void refuses();
    void refusesAnImageThatIsNotTheAnnouncedOne();
    void sendsReceipts();
    void forecastsEscapedReplies();
    void resumes();
    void keepsOrDropsTheImageByItsInitPacket();
    void faults_data();
    void faults();
    void saysMoreThanItHas();
    void thePodGoesThereAndBack();
    void thePodStaysAway();
};

void SimulatorBootloader::framesAsRfc1055HasThem()
{
    QCOMPARE(slipEncoded(QByteArray::fromHex("01C0DB02")), QByteArray::fromHex("01DBDCDBDD02C0"));
    QCOMPARE(slipEncoded({}), QByteArray::fromHex("C0"));

    const auto frames = decoded(QByteArray::fromHex("C0"
                                                    "DBDD41DBDCC0"
                                                    "DB41C0"
                                                    "41DBC0"
                                                    "42C0"));
    QCOMPARE(frames.size(), 5);
    QCOMPARE(frames.at(0).payload, QByteArray());
    QCOMPARE(frames.at(1).payload, QByteArray::fromHex("DB41C0"));
    QCOMPARE(frames.at(1).wire_bytes, qint64(6));
    QVERIFY(!frames.at(1).broken && frames.at(2).broken && frames.at(3).broken);
    QVERIFY(!frames.at(4).broken);
    QCOMPARE(frames.at(4).payload, QByteArray("B"));
    QByteArray every_byte;
    for (int byte = 0; byte < 256; ++byte)
        every_byte.append(char(byte));
    QCOMPARE(decoded(slipEncoded(every_byte)).value(0).payload, every_byte);
    QVERIFY(decoded(QByteArray(1'000'000, 'x') + '\xC0').at(0).payload.size() < 200'000);
}

void SimulatorBootloader::takesAnyImageAtAnySize_data()
{
    QTest::addColumn<int>("mtu_bytes");
    QTest::addColumn<int>("object_bytes");
    QTest::addColumn<int>("image_bytes");
    for (const int mtu_bytes : {5, 6, 64, 131, 4096, 65535})
        QTest::addRow("mtu %d", mtu_bytes) << mtu_bytes << 4096 << 10'000;
    for (const int image_bytes : {1, 4095, 4096, 4097, 8192})
        QTest::addRow("image of %d", image_bytes) << 131 << 4096 << image_bytes;
    QTest::addRow("objects of one byte") << 131 << 1 << 300;
}

void SimulatorBootloader::takesAnyImageAtAnySize()
{
    QFETCH(int, mtu_bytes);
    QFETCH(int, object_bytes);
    QFETCH(int, image_bytes);
    BootloaderSettings settings;
    settings.mtu_bytes = quint16(mtu_bytes);
    settings.limits.data_bytes = quint32(object_bytes);
    Bootloader bootloader(settings, inBootloader());
    const QByteArray image = imageOf(image_bytes);
    QVERIFY(Host(bootloader).update(image));
    QVERIFY(bootloader.finished());
    QCOMPARE(bootloader.flash().firmware_sha256, sha256(image));
    QVERIFY(!bootloader.flash().in_bootloader);
    QCOMPARE(bootloader.report().image_bytes, quint64(image_bytes));
    QVERIFY(bootloader.report().bus_bytes > quint64(image_bytes));
    QCOMPARE(refusalText(bootloader.report().refusals), QString());
}

void SimulatorBootloader::refuses_data()
{
    using Requests = QVector<QByteArray>;
    QTest::addColumn<Requests>("requests"); // the last one is refused
    QTest::addColumn<QByteArray>("result");
    QTest::addColumn<QString>("kind");
    const auto row = [](const char* kind, const Requests& requests, const char* result) {
        QTest::addRow("%s %s", kind, requests.last().left(6).toHex().constData())
            << requests << QByteArray(result) << QStringLiteral("1 x ") + QLatin1String(kind);
    };
    const QByteArray init = InitPacket::describing(imageOf(9000)).toBytes();
    const Requests ready{create(1, init.size()), write(init), kExecute};
    const auto then = [&ready](const Requests& more) { return ready + more; };

    row("write above the MTU", {create(1, 200), write(QByteArray(130, 'x'))}, "\x03");
    row("write above the MTU", {create(1, 200), write(QByteArray(65, '\xC0'))}, "\x03");
    row("write beyond its object", {create(1, 4), write("1234"), write("5")}, "\x04");
    row("write beyond its object", then({create(2, 100), write(QByteArray(101, 'x'))}), "\x04");
    row("write without an object", {write("1")}, "\x08");
    row("write without an object", then({kSelectData, write("1")}), "\x08");
    row("object too large", {create(1, 513)}, "\x04");
    row("object too large", {create(1, 0)}, "\x04");
    row("object too large", then({create(2, 4097)}), "\x04");
    row("data before the init packet", {create(2, 100)}, "\x08");
    row("execute of an unfinished object", {create(1, 4), write("123"), kExecute}, "\x08");
    row("execute of nothing", {kExecute}, "\x08");
    row("execute of nothing", then({kSelectData, kExecute}), "\x08");
    row("init packet too short", {create(1, 4), write("1234"), kExecute}, "\x0B\x04");
    row("image of an impossible size", {create(1, 36), write(QByteArray(36, '\0')), kExecute},
        "\x0A");
    row("image of an impossible size", {create(1, 36), write(QByteArray(36, '\x7F')), kExecute},
        "\x0A");
    row("unknown request", {"\x09\x01"}, "\x02");
    row("unknown object", {"\x06\x03"}, "\x07");
    row("unknown object", {create(3, 1)}, "\x07");
    row("malformed request", {"\x06"}, "\x03");
    row("malformed request", {"\x01\x01"}, "\x03");
    row("malformed request", {"\x02\x01"}, "\x03");
}

void SimulatorBootloader::refuses()
{
    QFETCH(QVector<QByteArray>, requests);
    QFETCH(QByteArray, result);
    QFETCH(QString, kind);
    Bootloader bootloader({}, inBootloader());
    Host host(bootloader);
    const QByteArray refused = requests.takeLast();
    for (const QByteArray& request : requests)
        QCOMPARE(host.ask(request).left(1), request.at(0) == '\x08' ? QByteArray() : kOk);
    QCOMPARE(host.ask(refused), result);
    QCOMPARE(refusalText(bootloader.report().refusals), kind);
    QVERIFY(host.update(imageOf(9000)));
}

void SimulatorBootloader::refusesAnImageThatIsNotTheAnnouncedOne()
{
    Bootloader bootloader({}, inBootloader());
    Host host(bootloader);
    QByteArray image = imageOf(9000);
    QVERIFY(host.sendInit(InitPacket::describing(image).toBytes()));
    image[8999] = char(~image.at(8999));
    QVERIFY(!host.sendImage(image));
    QCOMPARE(refusalText(bootloader.report().refusals),
             QStringLiteral("1 x image with a wrong digest"));
    QVERIFY(!bootloader.finished() && bootloader.flash().in_bootloader);
    QCOMPARE(host.ask(kSelectData), kOk + word(4096) + positionAfter({}));
    QVERIFY(host.sendImage(imageOf(9000)));
}

void SimulatorBootloader::sendsReceipts()
{
    Bootloader bootloader({}, inBootloader());
    Host host(bootloader);
    QCOMPARE(host.ask(QByteArray("\x02\x02\x00", 3)), kOk);
    QCOMPARE(host.ask(create(1, 100)), kOk);
    QCOMPARE(host.ask(write("12")), QByteArray());
    host.tell(write("345"));
    QCOMPARE(host.hear('\x03'), kOk + positionAfter("12345"));
    host.tell(write("6"));
    QCOMPARE(host.ask(create(1, 100)), kOk); // begins to count anew
    host.tell(write("1"));
    QCOMPARE(host.hear('\x03'), QByteArray());
}

void SimulatorBootloader::forecastsEscapedReplies()
{
    BootloaderSettings settings;
    settings.limits.data_bytes = 100;
    int escaped = 0;
    for (int size_bytes = 3000; size_bytes < 3050; ++size_bytes) {
        const QByteArray image = imageOf(size_bytes);
        const QByteArray init = InitPacket::describing(image).toBytes();
        Bootloader bootloader(settings, inBootloader());
        Host host(bootloader);
        QVERIFY(host.sendInit(init) && host.sendImage(image));
        const bool heard = host.heard().contains("\xDB\xDD");
        QCOMPARE(repliesHoldEscape(init, image, settings.limits), heard);
        escaped += heard ? 1 : 0;
    }
    QVERIFY(escaped > 0 && escaped < 50);
    QVERIFY(holdsEscape({0x00DB0000, 0}) && holdsEscape({0, 0xDB}) && !holdsEscape({1, 0xDA}));
}

void SimulatorBootloader::resumes()
{
    const QByteArray image = imageOf(10'000);
    const QByteArray init = InitPacket::describing(image).toBytes();
    Bootloader bootloader({}, inBootloader());
    Host host(bootloader);
    QVERIFY(host.sendInit(init));
    QVERIFY(host.ask(create(2, 4096)) == kOk);
    QCOMPARE(host.stream(image.left(4096), 131), kOk + positionAfter(image.left(4096)));
    QCOMPARE(host.ask(kExecute), kOk);
    QCOMPARE(host.ask(create(2, 4096)), kOk);
    host.stream(image.mid(4096, 1000), 131);

    // Only the host is another one: the object is still there.
    QCOMPARE(host.ask("\x06\x01"), kOk + word(512) + positionAfter(init));
    QCOMPARE(host.ask(kExecute), kOk);
    QCOMPARE(host.ask(kSelectData), kOk + word(4096) + positionAfter(image.left(5096)));
    QCOMPARE(host.stream(image.mid(5096, 100), 131), kOk + positionAfter(image.left(5196)));
    QCOMPARE(host.ask(create(2, 4096)), kOk);
    QCOMPARE(host.ask(kChecksum), kOk + positionAfter(image.left(4096)));

    // Without power, what was not executed is gone.
    Bootloader later({}, bootloader.flash());
    Host later_host(later);
    QCOMPARE(later_host.ask(kSelectData), kOk + word(4096) + positionAfter(image.left(4096)));
    QCOMPARE(later_host.ask(kExecute), kOk);
    QCOMPARE(later.report().resumed_at_byte, 4096U);
    QVERIFY(later_host.sendImage(image, 4096));
    QVERIFY(later.finished());

    // As a scenario makes one.
    BootloaderSettings settings;
    settings.half_received = image.mid(4096, 1000);
    Bootloader made(settings, bootloader.flash());
    QCOMPARE(Host(made).ask(kSelectData), kOk + word(4096) + positionAfter(image.left(5096)));
    QCOMPARE(Host(made).stream(image.mid(5096, 3096), 131), kOk + positionAfter(image.left(8192)));
    QCOMPARE(Host(made).ask(kExecute), kOk);
    QVERIFY(Host(made).sendImage(image, 8192));
    QVERIFY(made.finished());
}

void SimulatorBootloader::keepsOrDropsTheImageByItsInitPacket()
{
    const QByteArray image = imageOf(10'000);
    PodFlash flash = inBootloader();
    flash.init_packet = InitPacket::describing(image).toBytes();
    flash.image = image.left(8192);
    Bootloader bootloader({}, flash);
    Host host(bootloader);
    QVERIFY(host.sendInit(flash.init_packet));
    QCOMPARE(bootloader.flash().image.size(), 8192);
    const QByteArray other = InitPacket::describing(image, "2.0").toBytes();
    QCOMPARE(host.ask(create(1, other.size())), kOk);
    QCOMPARE(host.ask(write(other)), QByteArray());
    QCOMPARE(bootloader.flash().image.size(), 8192);
    QCOMPARE(host.ask(kExecute), kOk);
    QCOMPARE(bootloader.flash().image.size(), 0);
    QVERIFY(host.sendImage(image));
}

void SimulatorBootloader::faults_data()
{
    QTest::addColumn<int>("failures"); // of a host's first two attempts
    QTest::newRow("reply lost") << 1;
    QTest::newRow("reply cut in two reads") << 0;
    QTest::newRow("two replies in one read") << 0;
    QTest::newRow("wrong opcode") << 1;
    QTest::newRow("extended error") << 1;
    QTest::newRow("crc wrong once") << 1;
    QTest::newRow("offset wrong") << 1;
    QTest::newRow("mtu tiny") << 2;
    QTest::newRow("mtu huge") << 0;
    QTest::newRow("object size odd") << 0;
    QTest::newRow("object size zero") << 2;
    QTest::newRow("frame without end") << 2;
    QTest::newRow("reply in drops") << 2;
    QTest::newRow("leaves before last reply") << 1;
}

void SimulatorBootloader::faults()
{
    QFETCH(int, failures);
    BootloaderSettings settings;
    settings.fault = *podFaultFromName(QLatin1String(QTest::currentDataTag()));
    const QByteArray image = imageOf(10'000);
    Bootloader bootloader(settings, inBootloader());
    int failed = 0;
    while (failed < 2 && !Host(bootloader).update(image))
        ++failed;
    QCOMPARE(failed, failures);
    QCOMPARE(refusalText(bootloader.report().refusals), QString());
}

void SimulatorBootloader::saysMoreThanItHas()
{
    BootloaderSettings settings;
    settings.fault = PodFault::OffsetBeyond;
    Bootloader bootloader(settings, inBootloader());
    Host host(bootloader);
    QCOMPARE(host.ask(kSelectData), kOk + word(4096) + word(kFlashBytes + 1) + word(0));
    QCOMPARE(bootloader.report().resumed_at_byte, 0U);
}

void SimulatorBootloader::thePodGoesThereAndBack()
{
    const QByteArray image = imageOf(10'000);
    PodModel pod(PodSettings{});
    QVector<PodEvent> events;
    pod.setListener([&](PodEvent event) { events.append(event); });
    for (int updates = 1; updates <= 2; ++updates) {
        pod.receive("\x12");
        QVERIFY(!pod.onBus());
        pod.restart();
        QVERIFY(pod.onBus());
        QCOMPARE(pod.mode(), PodMode::Bootloader);
        QVERIFY(Host(pod).update(image));
        QVERIFY(!pod.onBus() && !pod.vanished());
        QCOMPARE(pod.report().updates_completed, updates);
        pod.restart();
        QCOMPARE(pod.mode(), PodMode::Normal);
        QCOMPARE(pod.report().firmware_sha256, sha256(image));
        pod.receive("\x11");
        QVERIFY(pod.onBus() && pod.nextTransferBytes(64) > 0);
    }
    QCOMPARE(events, QVector<PodEvent>(4, PodEvent::Restarting));
}

void SimulatorBootloader::thePodStaysAway()
{
    const auto podWith = [](PodFault fault, bool in_bootloader) {
        PodSettings settings;
        settings.fault = fault;
        settings.flash.in_bootloader = in_bootloader;
        return PodModel(settings);
    };
    PodModel bootloader_absent = podWith(PodFault::BootloaderAbsent, false);
    bootloader_absent.receive("\x12");
    QVERIFY(bootloader_absent.vanished());

    PodModel firmware_absent = podWith(PodFault::FirmwareAbsent, true);
    QVERIFY(Host(firmware_absent).update(imageOf(100)));
    QVERIFY(firmware_absent.vanished());
    QCOMPARE(firmware_absent.flash().firmware_sha256, sha256(imageOf(100)));

    PodModel disconnects = podWith(PodFault::DisconnectAtByte, true);
    QVERIFY(!Host(disconnects).update(imageOf(10'000)));
    QVERIFY(disconnects.vanished());
    QCOMPARE(disconnects.flash().image, imageOf(10'000).left(4096));

    PodModel leaves_unheard = podWith(PodFault::LeavesUnheard, true);
    QVERIFY(!Host(leaves_unheard).update(imageOf(100)));
    QVERIFY(!leaves_unheard.onBus() && !leaves_unheard.vanished());
    leaves_unheard.restart();
    QVERIFY(isUpdated(leaves_unheard.report()));
    QCOMPARE(leaves_unheard.flash().firmware_sha256, sha256(imageOf(100)));

    // A host that does not take the last reply does not keep it from restarting.
    PodModel unheard = podWith(PodFault::ReplyLost, true);
    QVERIFY(!Host(unheard).update(imageOf(100)));
    unheard.receive(slipEncoded(kExecute));
    QVERIFY(unheard.onBus());
    unheard.receive(slipEncoded(kChecksum));
    QVERIFY(!unheard.onBus() && !unheard.vanished());
}

QTEST_GUILESS_MAIN(SimulatorBootloader)
#include "simulator_bootloader.moc"
