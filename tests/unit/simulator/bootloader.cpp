#include "pod/initpacket.h"
#include "pod/podmodel.h"

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

QVector<SlipFrame> decoded(const QByteArray& wire)
{
    SlipDecoder decoder;
    QVector<SlipFrame> frames;
    for (const char byte : wire)
        if (const auto frame = decoder.add(byte))
            frames.append(*frame);
    return frames;
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
        std::array<char, 64> bytes{};
        const int length = m_device.send(bytes.data(), int(bytes.size()));
        const auto frames = decoded({bytes.data(), length});
        if (frames.isEmpty())
            return {};
        return frames.last().payload.startsWith(QByteArray(1, '\x60') + request)
                   ? frames.last().payload.mid(2)
                   : QByteArray("another request");
    }

    QByteArray ask(const QByteArray& request)
    {
        tell(request);
        return hear(request.at(0));
    }

    bool sendInit(const QByteArray& init) { return sendObject(1, init, init); }

    /// False at the first reply that is not as it should be.
    bool sendImage(const QByteArray& image)
    {
        constexpr int kObjectBytes = 4096;
        if (ask(kSelectData).isEmpty())
            return false;
        bool good = true;
        for (int from = 0; good && from < image.size(); from += kObjectBytes)
            good = sendObject(2, image.mid(from, kObjectBytes), image.left(from + kObjectBytes));
        return good;
    }

    bool update(const QByteArray& image)
    {
        return sendInit(InitPacket::describing(image).toBytes()) && sendImage(image);
    }

private:
    bool sendObject(char type, const QByteArray& object, const QByteArray& sent_by_then)
    {
        constexpr int kChunkBytes = 64; // within the MTU even if every byte is escaped
        if (ask(create(type, object.size())) != kOk)
            return false;
        for (int from = 0; from < object.size(); from += kChunkBytes)
            tell(write(object.mid(from, kChunkBytes)));
        return ask(kChecksum) == kOk + positionAfter(sent_by_then) && ask(kExecute) == kOk;
    }

    Device& m_device;
};

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

private slots:
    void dropsBrokenFrames();
    void refuses();
    void refusesAnImageThatIsNotTheAnnouncedOne();
    void sendsReceipts();
    void keepsOrDropsTheImageByItsInitPacket();
    void restartsThoughNobodyHears();
};

void SimulatorBootloader::dropsBrokenFrames()
{
    const auto frames = decoded(QByteArray::fromHex("DBDD41DBDCC0"
                                                    "DB41C0"
                                                    "41DBC0"
                                                    "42C0"));
    QCOMPARE(frames.size(), 4);
    QCOMPARE(frames.at(0).payload, QByteArray::fromHex("DB41C0"));
    QVERIFY(!frames.at(0).broken && frames.at(1).broken && frames.at(2).broken);
    QVERIFY(!frames.at(3).broken);
    QCOMPARE(frames.at(3).payload, QByteArray("B"));
    QVERIFY(decoded(QByteArray(1'000'000, 'x') + '\xC0').at(0).payload.size() < 200'000);
}

void SimulatorBootloader::refuses()
{
    using Requests = QVector<QByteArray>;
    // The last request, with this result.
    const auto refused = [](const char* kind, Requests requests, const char* result) {
        Bootloader bootloader({}, inBootloader());
        Host host(bootloader);
        const QByteArray last = requests.takeLast();
        for (const QByteArray& request : qAsConst(requests))
            QCOMPARE(host.ask(request).left(1), request.at(0) == '\x08' ? QByteArray() : kOk);
        QVERIFY2(host.ask(last) == result, last.left(6).toHex());
        QCOMPARE(refusalText(bootloader.report().refusals),
                 QStringLiteral("1 x ") + QLatin1String(kind));
        QVERIFY(host.update(imageOf(9000)));
    };
    const QByteArray init = InitPacket::describing(imageOf(9000)).toBytes();
    const Requests ready{create(1, init.size()), write(init), kExecute};
    const auto then = [&ready](const Requests& more) { return ready + more; };

    refused("write above the MTU", {create(1, 200), write(QByteArray(130, 'x'))}, "\x03");
    refused("write above the MTU", {create(1, 200), write(QByteArray(65, '\xC0'))}, "\x03");
    refused("write beyond its object", {create(1, 4), write("1234"), write("5")}, "\x04");
    refused("write beyond its object", then({create(2, 100), write(QByteArray(101, 'x'))}), "\x04");
    refused("write without an object", {write("1")}, "\x08");
    refused("write without an object", then({kSelectData, write("1")}), "\x08");
    refused("object too large", {create(1, 513)}, "\x04");
    refused("object too large", {create(1, 0)}, "\x04");
    refused("object too large", then({create(2, 4097)}), "\x04");
    refused("data before the init packet", {create(2, 100)}, "\x08");
    refused("execute of an unfinished object", {create(1, 4), write("123"), kExecute}, "\x08");
    refused("execute of nothing", {kExecute}, "\x08");
    refused("execute of nothing", then({kSelectData, kExecute}), "\x08");
    refused("init packet too short", {create(1, 4), write("1234"), kExecute}, "\x0B\x04");
    refused("image of an impossible size", {create(1, 36), write(QByteArray(36, '\0')), kExecute},
            "\x0A");
    refused("image of an impossible size", {create(1, 36), write(QByteArray(36, '\x7F')), kExecute},
            "\x0A");
    refused("unknown request", {"\x09\x01"}, "\x02");
    refused("unknown object", {"\x06\x03"}, "\x07");
    refused("unknown object", {create(3, 1)}, "\x07");
    refused("malformed request", {"\x06"}, "\x03");
    refused("malformed request", {"\x01\x01"}, "\x03");
    refused("malformed request", {"\x02\x01"}, "\x03");
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

void SimulatorBootloader::restartsThoughNobodyHears()
{
    PodSettings settings;
    settings.fault = PodFault::ReplyLost;
    settings.flash.in_bootloader = true;
    PodModel pod(settings);
    QVERIFY(!Host(pod).update(imageOf(100)));
    pod.receive(slipEncoded(kExecute));
    QVERIFY(pod.onBus());
    pod.receive(slipEncoded(kChecksum));
    QVERIFY(!pod.onBus() && !pod.vanished());
}

QTEST_GUILESS_MAIN(SimulatorBootloader)
#include "bootloader.moc"
