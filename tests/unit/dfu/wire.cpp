#include "dfu/dfuexception.h"
#include "dfu/dfuinvalidupdatefile.h"
#include "dfu/dfumanifest.h"
#include "dfu/dfureply.h"
#include "dfu/slip.h"
#include "dfu/updatefile.h"
#include "support/testfiles.h"

#include <QTemporaryDir>
#include <QTest>

#include <random>
#include <zlib.h>

using Bytes = std::vector<uint8_t>;

namespace {

Bytes bytes(const QByteArray& hex)
{
    const QByteArray raw = QByteArray::fromHex(hex);
    return {raw.begin(), raw.end()};
}

QByteArray hex(const Bytes& bytes)
{
    return QByteArray(reinterpret_cast<const char*>(bytes.data()), int(bytes.size())).toHex(' ');
}

Bytes encoded(const Bytes& payload)
{
    slip::Slip codec;
    codec.encodeData(payload);
    return codec.getEncodedData();
}

/// All frames that the bytes complete, each in hexadecimal.
QList<QByteArray> decoded(slip::Slip& codec, const Bytes& received)
{
    QList<QByteArray> frames;
    for (const uint8_t byte : received) {
        if (codec.decodeAddByte(byte))
            frames.append(hex(codec.getDecodedData()));
    }
    return frames;
}

} // namespace

/// What goes over the wire to a bootloader and what comes back, and the manifest: bytes that others
/// made, and that may be anything.
class DfuWire : public QObject
{
    Q_OBJECT

private slots:
    void encodes();
    void decodes_data();
    void decodes();
    void everyPayloadButAnEscapedEscapeComesBack();
    void boundsAFrame();
    void judgesReplies_data();
    void judgesReplies();
    void takesNumbersFromTheEnd();
    void checksumsImagesOfManyBlocks();
    void readsManifests_data();
    void readsManifests();
};

void DfuWire::encodes()
{
    QCOMPARE(hex(encoded(bytes("01C0DB02"))), QByteArray("01 db dc db dd 02 c0"));
    QCOMPARE(hex(encoded({})), QByteArray("c0"));
    slip::Slip codec;
    codec.encodeData(bytes("0102"));
    codec.encodeData(bytes("03"));
    QCOMPARE(hex(codec.getEncodedData()), QByteArray("03 c0"));
}

void DfuWire::decodes_data()
{
    QTest::addColumn<QByteArray>("received");
    QTest::addColumn<QList<QByteArray>>("frames");
    QTest::addColumn<int>("state");
    const auto row = [](const char* received, const QList<QByteArray>& frames,
                        slip::slip_state_e state = slip::DECODING) {
        QTest::newRow(received) << QByteArray(received) << frames << int(state);
    };
    row("600101C0", {"60 01 01"});
    row("C0", {""});
    row("0102C003C004", {"01 02", "03"});
    row("01DBDC02C0", {"01 c0 02"});
    row("01DB", {}, slip::ESC_REC);
    row("DB41", {}, slip::CLR_INVALID);
    row("01DB41FFDBC002C0", {"02"});
    row("DBC0", {}, slip::CLR_INVALID);
    row("DBC0C001C0", {"01"});
    // After an escaped escape byte only another escape code goes on with the frame.
    row("DBDD", {}, slip::ESC_REC);
    row("DBDD41", {}, slip::CLR_INVALID);
    row("DBDDDB", {}, slip::CLR_INVALID);
    row("DBDDC0", {}, slip::CLR_INVALID);
    row("DBDDDCC0", {"db c0"});
    row("DBDDDDDCC0", {"db db c0"});
}

void DfuWire::decodes()
{
    QFETCH(QByteArray, received);
    QFETCH(QList<QByteArray>, frames);
    QFETCH(int, state);
    slip::Slip codec;
    QCOMPARE(decoded(codec, bytes(received)), frames);
    QCOMPARE(int(codec.getState()), state);
}

void DfuWire::everyPayloadButAnEscapedEscapeComesBack()
{
    std::mt19937 random(4711);
    slip::Slip codec;
    for (int round = 0; round < 500; ++round) {
        Bytes payload(random() % 300);
        for (uint8_t& byte : payload) {
            const uint8_t drawn = random() % 4 == 0 ? 0xC0 : random() % 256;
            byte = drawn == 0xDB ? 0xDC : drawn;
        }
        QCOMPARE(decoded(codec, encoded(payload)), QList<QByteArray>{hex(payload)});
    }
}

void DfuWire::boundsAFrame()
{
    slip::Slip codec;
    const Bytes most(slip::Slip::kMaxFrameBytes, 0x55);
    decoded(codec, most);
    QVERIFY_EXCEPTION_THROWN(codec.decodeAddByte(0x55), DfuException);
    // The rest of that frame is dropped, and the one after it is heard.
    QCOMPARE(decoded(codec, bytes("5555C001C0")), QList<QByteArray>{"01"});
    QCOMPARE(decoded(codec, encoded(most)), QList<QByteArray>{hex(most)});
    decoded(codec, bytes("DB"));
    decoded(codec, Bytes(slip::Slip::kMaxFrameBytes, 0xDD));
    QVERIFY_EXCEPTION_THROWN(codec.decodeAddByte(0xDD), DfuException);
}

void DfuWire::judgesReplies_data()
{
    QTest::addColumn<QByteArray>("frame");
    QTest::addColumn<QByteArray>("verdict");
    const auto row = [](const char* frame, const char* verdict) {
        QTest::newRow(frame) << QByteArray(frame) << QByteArray(verdict);
    };
    row("", "Empty buffer");
    row("61", "False repsonse");
    row("610301", "False repsonse");
    row("60", "Error operation");
    row("600401", "Error operation");
    row("6003", "Unkown error");
    row("600305", "Unkown error");
    row("600300", "Unkown error");
    row("60030B", "Extented error");
    row("60030B07", "Extented error");
    row("600301", "");
    row("6003010102", "01 02");
}

void DfuWire::judgesReplies()
{
    QFETCH(QByteArray, frame);
    QFETCH(QByteArray, verdict);
    QByteArray result;
    try {
        result = hex(dfureply::payloadOf(bytes(frame), 0x03));
    } catch (const DfuException& e) {
        result = e.what();
    }
    QCOMPARE(result, verdict);
}

void DfuWire::takesNumbersFromTheEnd()
{
    Bytes payload = bytes("FF001000000403020178563412");
    QCOMPARE(dfureply::takeLast(payload, 4), 0x12345678U);
    QCOMPARE(dfureply::takeLast(payload, 4), 0x01020304U);
    QCOMPARE(dfureply::takeLast(payload, 4), 0x1000U);
    QVERIFY_EXCEPTION_THROWN(dfureply::takeLast(payload, 2), DfuException);
    Bytes mtu = bytes("8300");
    QCOMPARE(dfureply::takeLast(mtu, 2), 131U);
}

void DfuWire::checksumsImagesOfManyBlocks()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("app.bin"));
    const QByteArray image = testfiles::noise(1, 1'000'000);
    QVERIFY(testfiles::write(path, image));
    const auto* bytes = reinterpret_cast<const Bytef*>(image.constData());
    QCOMPARE(UpdateFile(path.toStdString()).crcUpTo(999'999), quint32(::crc32(0, bytes, 999'999)));
}

void DfuWire::readsManifests_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("files");
    const auto row = [](const char* what, const char* json, const char* files) {
        QTest::newRow(what) << QByteArray(json).replace('\'', '"') << QString::fromLatin1(files);
    };
    const char* const refused = "Invalid update file";
    row("application", "{'manifest': {'application': {'bin_file': 'a.bin', 'dat_file': 'a.dat'}}}",
        "a.bin a.dat");
    row("others beside it",
        "{'x': 1, 'manifest': {'dfu_version': 0.5, 'softdevice': {'bin_file': 's', 'dat_file': "
        "'d', 'sha': 1}}}",
        "s d");
    row("first of several",
        "{'manifest': {'bootloader': {'bin_file': 'b'}, 'application': {'bin_file': 'a'}}}", "a ");
    row("second of several",
        "{'manifest': {'bootloader': {'bin_file': 'b'}, 'softdevice': {'bin_file': 's'}}}", "s ");
    row("bootloader", "{'manifest': {'bootloader': {'dat_file': 'b'}}}", " b");
    row("no names", "{'manifest': {'application': []}}", " ");
    row("names of another type", "{'manifest': {'application': {'bin_file': 1, 'dat_file': {}}}}",
        " ");
    row("nothing", "", refused);
    row("no JSON", "\xff{", refused);
    row("cut off", "{'manifest': {'application': {'bin_file': 'a.bin'", refused);
    row("no manifest", "{'application': {}}", refused);
    row("empty manifest", "{'manifest': {}}", refused);
    row("manifest of another type", "{'manifest': ['application']}", refused);
    row("folder", "{'manifest': {'application': {'bin_file': 'sub/a.bin'}}}", refused);
    row("upwards", "{'manifest': {'application': {'bin_file': '..'}}}", refused);
    row("far upwards", "{'manifest': {'application': {'dat_file': '../../etc/passwd'}}}", refused);
    row("absolute", "{'manifest': {'application': {'dat_file': '/etc/passwd'}}}", refused);
    row("zero byte", "{'manifest': {'application': {'bin_file': 'a\\u0000b'}}}", refused);
}

void DfuWire::readsManifests()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, files);
    QString result;
    try {
        const DfuManifest manifest = DfuManifest::parse(json);
        result = manifest.bin_file + u' ' + manifest.dat_file;
    } catch (const DfuInvalidUpdateFile& e) {
        result = QString::fromLatin1(e.what());
    }
    QCOMPARE(result, files);
}

QTEST_GUILESS_MAIN(DfuWire)
#include "wire.moc"
