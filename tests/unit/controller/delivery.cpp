// The station's own archives, what of them is owed to a stick, and how a stick gets it.
#include "main/localarchives.h"
#include "main/stickdelivery.h"
#include "support/testfiles.h"
#include "support/zipbytes.h"
#include "system/checksum.h"
#include "system/stationpaths.h"
#include "utils/usbkeyutils.h"
#include "utils/ziputils.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

using testfiles::archiveName;
using testfiles::contentOf;
using testfiles::noise;
using testfiles::write;

namespace {

const QString kSerial = QStringLiteral("001122334455");
const QString kExport = QStringLiteral("QVX_DATAS.cvx");
constexpr int kMaxArchives = 3;

QString owedName(int number, const QString& suffix = {})
{
    return QStringLiteral("QVX_DATAS_%1_%2%3.cvx")
        .arg(kSerial, archiveName(number).chopped(4), suffix);
}

/// An archive with so many empty entries, of names that end so.
QByteArray zipOf(int entries, const QString& name_end)
{
    QVector<zipbytes::Entry> all(entries);
    for (int i = 0; i < entries; ++i)
        all[i].name = (QString::number(i) + name_end).toUtf8();
    return zipbytes::archive(all);
}

bool writeInfos()
{
    return QDir().mkpath(stationpaths::kWork) && write(stationpaths::kInfos, "Serial number:");
}

/// As the station begins, after however long.
std::unique_ptr<LocalArchives> start()
{
    auto archives = std::make_unique<LocalArchives>([] { writeInfos(); }, kMaxArchives);
    archives->beginNext();
    return archives;
}

AdditionResult add(LocalArchives& archives, const QString& name, const QByteArray& recording)
{
    const QString path = stationpaths::kWork + QLatin1Char('/') + name;
    Checksum checksum;
    checksum.add(recording);
    return write(path, recording) ? archives.add(path, checksum.value()) : AdditionResult{};
}

bool archived(LocalArchives& archives, const QString& name, const QByteArray& recording = "data")
{
    return add(archives, name, recording).added();
}

QStringList entriesWith(const QString& name)
{
    return {QStringLiteral("infos.log"), name};
}

} // namespace

class ControllerDelivery : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void everyStartsRecordingsComeToTheStick();
    void whatIsOnTheStickStays();
    void stickWithoutRoom();
    void recordingsAreNotReplacedByNone();
    void refusedRecordingAsksForNoStick();
    void copyThatWasCutTakesNoRoom();
    void archiveThatCannotBeReadStopsNoOther();
    void archiveThatTakesNoMore_data();
    void archiveThatTakesNoMore();
    void onlyWhatCameFromThePod();
    void owedArchivesStay();
    void noteOfWhatIsOwed();
    void archivesThatMayComeLater();

private:
    SyncCode deliver(LocalArchives& archives);
    QString onStick(const QString& name) const { return m_key->pathOf(name); }
    QStringList stickFiles() const { return QDir(m_key->pathOf({})).entryList(QDir::Files); }

    QScopedPointer<QTemporaryDir> m_folder;
    std::unique_ptr<UsbKeyUtils> m_key;
};

void ControllerDelivery::initTestCase()
{
    QVERIFY(testfiles::useTools(QStringLiteral("/opt"),
                                {{"blkid", "echo /dev/sda1:"},
                                 {"mount", "exec /bin/mount -t tmpfs -o size=1m key /media/usbkey"},
                                 {"umount", "exec /bin/umount /media/usbkey"}}));
}

void ControllerDelivery::init()
{
    m_folder.reset(new QTemporaryDir);
    QVERIFY(QDir::setCurrent(m_folder->path()) && writeInfos());
    m_key = std::make_unique<UsbKeyUtils>();
    QCOMPARE(m_key->mountKey(), 0);
}

void ControllerDelivery::cleanup()
{
    m_key.reset();
}

SyncCode ControllerDelivery::deliver(LocalArchives& archives)
{
    return StickDelivery(*m_key, archives, kSerial).run();
}

void ControllerDelivery::everyStartsRecordingsComeToTheStick()
{
    for (const char* night : {"a.ozu", "b.ozu"})
        QVERIFY(archived(*start(), QLatin1String(night)));
    const auto archives = start();
    QVERIFY(archived(*archives, QStringLiteral("c.ozu")));
    QCOMPARE(archives->owedEarlier(), QStringList({archiveName(0), archiveName(1)}));
    QCOMPARE(deliver(*archives), Copied);
    QVERIFY(!archives->owesAny());
    QCOMPARE(ZipUtils::listFiles(onStick(kExport)), entriesWith(QStringLiteral("c.ozu")));
    QCOMPARE(contentOf(onStick(owedName(0))), contentOf(LocalArchives::pathOf(archiveName(0))));
    QCOMPARE(contentOf(onStick(owedName(1))), contentOf(LocalArchives::pathOf(archiveName(1))));
    QCOMPARE(stickFiles().size(), 3);
    QVERIFY(!start()->owesAny());

    // Of a second look, only what came since.
    QVERIFY(QFile::remove(onStick(owedName(0))) && archived(*archives, QStringLiteral("d.ozu")));
    QCOMPARE(deliver(*archives), Copied);
    QCOMPARE(ZipUtils::listFiles(onStick(kExport)).size(), 3);
    QCOMPARE(stickFiles().size(), 2);
}

void ControllerDelivery::whatIsOnTheStickStays()
{
    QVERIFY(archived(*start(), QStringLiteral("a.ozu")));
    const auto archives = start();
    QVERIFY(write(onStick(owedName(0)), "another station's of that number"));
    QVERIFY(QDir().mkdir(onStick(owedName(0, QStringLiteral("_1")))));
    QCOMPARE(deliver(*archives), Copied);
    QCOMPARE(contentOf(onStick(owedName(0))), QByteArray("another station's of that number"));
    QCOMPARE(ZipUtils::listFiles(onStick(owedName(0, QStringLiteral("_2")))),
             entriesWith(QStringLiteral("a.ozu")));

    // The power went after the copy and before it was noted.
    QVERIFY(archives->owed().add(archiveName(0)));
    QCOMPARE(deliver(*archives), Copied);
    QCOMPARE(stickFiles().size(), 2);
}

void ControllerDelivery::stickWithoutRoom()
{
    QVERIFY(archived(*start(), QStringLiteral("large.ozu"), noise(1, 1500000)));
    QVERIFY(archived(*start(), QStringLiteral("small.ozu")));
    const auto archives = start();
    QCOMPARE(deliver(*archives), NoUsbKey);
    QCOMPARE(stickFiles(), QStringList(owedName(1)));
    QCOMPARE(archives->owedEarlier(), QStringList(archiveName(0)));

    // The current archive has none: what is there of an earlier day is not taken away for nothing.
    QVERIFY(write(onStick(kExport), "an earlier day's"));
    QVERIFY(archived(*archives, QStringLiteral("b.ozu"), noise(1, 1200000)));
    QCOMPARE(deliver(*archives), CopyFailed);
    QCOMPARE(contentOf(onStick(kExport)), QByteArray("an earlier day's"));
}

void ControllerDelivery::recordingsAreNotReplacedByNone()
{
    const auto archives = start();
    QVERIFY(write(onStick(kExport), "recordings"));
    // Noted as owed for its first recording, before which the power went.
    QVERIFY(archives->owed().add(archiveName(0)));
    QCOMPARE(deliver(*archives), Copied);
    QCOMPARE(contentOf(onStick(kExport)), QByteArray("recordings"));
    QVERIFY(!archives->owesAny());
}

/// It is still in its pod, and what was added before is on a stick already.
void ControllerDelivery::refusedRecordingAsksForNoStick()
{
    const auto archives = start();
    QVERIFY(!archives->add(QStringLiteral("tmp/gone.ozu"), 12345).added());
    QVERIFY(!archives->owesAny());
    QVERIFY(archived(*archives, QStringLiteral("a.ozu")));
    QVERIFY(!archives->add(QStringLiteral("tmp/a.ozu"), 12345).added());
    QVERIFY(archives->owesAny());
    QCOMPARE(deliver(*archives), Copied);
    QVERIFY(!archives->add(QStringLiteral("tmp/a.ozu"), 12345).added());
    QVERIFY(!archives->owesAny() && OwedArchives().names().isEmpty());
}

/// Of the current archive of then, which a restart has made an earlier one.
void ControllerDelivery::copyThatWasCutTakesNoRoom()
{
    QVERIFY(archived(*start(), QStringLiteral("a.ozu"), noise(1, 500000)));
    const auto archives = start();
    QVERIFY(write(onStick(QStringLiteral(".corvane.new")), noise(1, 800000)));
    QCOMPARE(deliver(*archives), Copied);
    QCOMPARE(QDir(m_key->pathOf({})).entryList(QDir::Files | QDir::Hidden),
             QStringList(owedName(0)));
}

void ControllerDelivery::archiveThatCannotBeReadStopsNoOther()
{
    for (const char* night : {"a.ozu", "b.ozu"})
        QVERIFY(archived(*start(), QLatin1String(night)));
    const auto archives = start();
    const QString path = LocalArchives::pathOf(archiveName(0));
    // Opens, but gives no byte.
    QVERIFY(QFile::remove(path) && QFile::link(QStringLiteral("/proc/self/mem"), path));
    QCOMPARE(deliver(*archives), CopyFailed);
    QCOMPARE(stickFiles(), QStringList(owedName(1)));
    QCOMPARE(archives->owedEarlier(), QStringList(archiveName(0)));
}

void ControllerDelivery::archiveThatTakesNoMore_data()
{
    QTest::addColumn<QString>("what");
    for (const char* what : {"full", "many", "long names", "damaged", "gone", "folder"})
        QTest::newRow(what) << QString::fromLatin1(what);
}

/// The recording goes into a new one at once.
void ControllerDelivery::archiveThatTakesNoMore()
{
    QFETCH(QString, what);
    const auto archives = start();
    QVERIFY(archived(*archives, QStringLiteral("a.ozu")));
    const QString path = archives->currentPath();
    if (what == QLatin1String("full")) {
        // Bytes in front of a zip do no harm: those of a hole make it as large as it may be.
        const QByteArray content = contentOf(path);
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadWrite) && file.resize(0) &&
                file.seek(0xFFFFFFFE - content.size() - 10) && file.write(content) > 0);
    } else if (what == QLatin1String("many")) {
        QVERIFY(write(path, zipOf(65534, {})));
    } else if (what == QLatin1String("long names")) {
        QVERIFY(write(path, zipOf(300, QString(30000, QLatin1Char('n')))));
    } else if (what == QLatin1String("damaged")) {
        QVERIFY(write(path, "no archive"));
    } else {
        QVERIFY(QFile::remove(path) && (what == QLatin1String("gone") || QDir().mkdir(path)));
    }
    QVERIFY(QDir(stationpaths::kWork).removeRecursively() && QDir().mkdir(stationpaths::kWork));
    QVERIFY(archived(*archives, QStringLiteral("b.ozu")));
    QCOMPARE(ZipUtils::listFiles(archives->currentPath()), entriesWith(QStringLiteral("b.ozu")));
    QVERIFY(archives->owesCurrent());
    const bool is_lost = what == QLatin1String("gone") || what == QLatin1String("folder");
    QCOMPARE(archives->owedEarlier().isEmpty(), is_lost);
    QCOMPARE(QFileInfo(path).size() > 4000000000, what == QLatin1String("full"));
}

void ControllerDelivery::onlyWhatCameFromThePod()
{
    const auto archives = start();
    const QByteArray empty = contentOf(archives->currentPath());
    const QString path = stationpaths::kWork + QStringLiteral("/a.ozu");
    QVERIFY(write(path, "what the medium made of it"));
    QCOMPARE(archives->add(path, 12345).kind, AdditionResult::FileChanged);
    QCOMPARE(contentOf(archives->currentPath()), empty);
}

void ControllerDelivery::owedArchivesStay()
{
    for (int i = 0; i < 2 * kMaxArchives; ++i)
        QVERIFY(archived(*start(), QStringLiteral("a.ozu")));
    const QDir datas(stationpaths::kArchives);
    QCOMPARE(datas.entryList(QDir::Files).size(), 2 * kMaxArchives);
    QTest::ignoreMessage(QtWarningMsg, "More archives than usual, on no stick yet: 3");
    QTest::ignoreMessage(QtWarningMsg, "More archives than usual, on no stick yet: 3");
    const auto archives = start();
    QCOMPARE(deliver(*archives), Copied);
    archives->beginNext();
    QCOMPARE(datas.entryList(QDir::Files),
             QStringList({archiveName(4), archiveName(5), archiveName(6)}));
}

void ControllerDelivery::noteOfWhatIsOwed()
{
    QVERIFY(archived(*start(), QStringLiteral("a.ozu")));
    const QByteArray note = contentOf(stationpaths::kOwed);
    QVERIFY(note.endsWith("\n0000000000.cvx\n"));
    // A station of before it owes nothing.
    QVERIFY(QFile::remove(stationpaths::kOwed));
    QVERIFY(!start()->owesAny());
    // What cannot be read may have named anything.
    for (int bytes = 0; bytes < note.size(); ++bytes) {
        QVERIFY(write(stationpaths::kOwed, note.left(bytes)));
        QVERIFY(OwedArchives().contains(archiveName(0)));
    }
    // Nothing is erased from a pod that could be forgotten.
    QVERIFY(QFile::remove(stationpaths::kOwed) && QDir().mkdir(stationpaths::kOwed));
    const auto archives = start();
    archives->owed().keepOnly({});
    QVERIFY(!archived(*archives, QStringLiteral("b.ozu")));
    QCOMPARE(ZipUtils::listFiles(archives->currentPath()).size(), 1);
}

/// The disk with the archives is mounted after the first start.
void ControllerDelivery::archivesThatMayComeLater()
{
    QVERIFY(archived(*start(), QStringLiteral("a.ozu")));
    QVERIFY(QFile::rename(stationpaths::kArchives, QStringLiteral("disk")));
    QVERIFY(!LocalArchives([] {}, kMaxArchives).owesAny());
    start(); // with an archive of its own, in the folder under the disk
    QVERIFY(QDir(stationpaths::kArchives).removeRecursively() &&
            QFile::rename(QStringLiteral("disk"), stationpaths::kArchives));
    QCOMPARE(start()->owedEarlier(), QStringList(archiveName(0)));
    // Erased by an operator, they are owed to nobody.
    const auto archives = start();
    QVERIFY(QDir(stationpaths::kArchives).removeRecursively() &&
            QDir().mkdir(stationpaths::kArchives));
    archives->forgetErased();
    QVERIFY(OwedArchives().names().isEmpty());
}

QTEST_GUILESS_MAIN(ControllerDelivery)
#include "delivery.moc"
