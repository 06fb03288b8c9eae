#include "dfu/dfuexception.h"
#include "dfu/dfuinvalidupdatefile.h"
#include "dfu/dfumanifest.h"
#include "dfu/dfureply.h"
#include "dfu/slip.h"
#include "dfu/updatefile.h"
#include "support/testfiles.h"

#include <QTemporaryDir>
#include <QTest>

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
    void decodes();
    void boundsAFrame();
    void judgesReplies();
    void checksumsImagesOfManyBlocks();
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

void DfuWire::decodes()
{
    const auto check = [](const char* received, const QList<QByteArray>& frames,
                          slip::slip_state_e state = slip::DECODING) {
        slip::Slip codec;
        QCOMPARE(decoded(codec, bytes(received)), frames);
        QVERIFY2(codec.getState() == state, received);
    };
    check("600101C0", {"60 01 01"});
    check("C0", {""});
    check("0102C003C004", {"01 02", "03"});
    check("01DBDC02C0", {"01 c0 02"});
    check("01DB", {}, slip::ESC_REC);
    check("DB41", {}, slip::CLR_INVALID);
    check("01DB41FFDBC002C0", {"02"});
    check("DBC0", {}, slip::CLR_INVALID);
    check("DBC0C001C0", {"01"});
    // After an escaped escape byte only another escape code goes on with the frame.
    check("DBDD", {}, slip::ESC_REC);
    check("DBDD41", {}, slip::CLR_INVALID);
    check("DBDDDB", {}, slip::CLR_INVALID);
    check("DBDDC0", {}, slip::CLR_INVALID);
    check("DBDDDCC0", {"db c0"});
    check("DBDDDDDCC0", {"db db c0"});
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

void DfuWire::judgesReplies()
{
    const QList<QPair<QByteArray, QByteArray>> verdicts{{"", "Empty buffer"},
                                                        {"61", "False repsonse"},
                                                        {"610301", "False repsonse"},
                                                        {"60", "Error operation"},
                                                        {"600401", "Error operation"},
                                                        {"6003", "Unkown error"},
                                                        {"600305", "Unkown error"},
                                                        {"600300", "Unkown error"},
                                                        {"60030B", "Extented error"},
                                                        {"60030B07", "Extented error"},
                                                        {"600301", ""},
                                                        {"6003010102", "01 02"}};
    for (const auto& [frame, verdict] : verdicts) {
        QByteArray result;
        try {
            result = hex(dfureply::payloadOf(bytes(frame), 0x03));
        } catch (const DfuException& e) {
            result = e.what();
        }
        QCOMPARE(frame + ": " + result, frame + ": " + verdict);
    }
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

void DfuWire::readsManifests()
{
    const char* const refused = "Invalid update file";
    const auto check = [](const char* json, const char* files) {
        QString result;
        try {
            const DfuManifest manifest = DfuManifest::parse(QByteArray(json).replace('\'', '"'));
            result = manifest.bin_file + u' ' + manifest.dat_file;
        } catch (const DfuInvalidUpdateFile& e) {
            result = QString::fromLatin1(e.what());
        }
        QVERIFY2(result == QLatin1String(files), json);
    };
    check("{'manifest': {'application': {'bin_file': 'a.bin', 'dat_file': 'a.dat'}}}",
          "a.bin a.dat");
    check("{'x': 1, 'manifest': {'dfu_version': 0.5, 'softdevice': {'bin_file': 's', 'dat_file': "
          "'d', 'sha': 1}}}",
          "s d");
    check("{'manifest': {'bootloader': {'bin_file': 'b'}, 'application': {'bin_file': 'a'}}}",
          "a ");
    check("{'manifest': {'bootloader': {'bin_file': 'b'}, 'softdevice': {'bin_file': 's'}}}", "s ");
    check("{'manifest': {'bootloader': {'dat_file': 'b'}}}", " b");
    check("{'manifest': {'application': []}}", " ");
    check("{'manifest': {'application': {'bin_file': 1, 'dat_file': {}}}}", " ");
    check("", refused);
    check("\xff{", refused);
    check("{'manifest': {'application': {'bin_file': 'a.bin'", refused);
    check("{'application': {}}", refused);
    check("{'manifest': {}}", refused);
    check("{'manifest': ['application']}", refused);
    check("{'manifest': {'application': {'bin_file': 'sub/a.bin'}}}", refused);
    check("{'manifest': {'application': {'bin_file': '..'}}}", refused);
    check("{'manifest': {'application': {'dat_file': '../../etc/passwd'}}}", refused);
    check("{'manifest': {'application': {'dat_file': '/etc/passwd'}}}", refused);
    check("{'manifest': {'application': {'bin_file': 'a\\u0000b'}}}", refused);
}

QTEST_GUILESS_MAIN(DfuWire)
#include "wire.moc"
