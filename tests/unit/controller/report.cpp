// The report that an operator asks for with a command file.
#include "archive/owedarchives.h"
#include "main/progress.h"
#include "main/stickcommands.h"
#include "shell/keptlog.h"
#include "support/testfiles.h"
#include "system/stationpaths.h"
#include "utils/usbkeyutils.h"
#include "utils/ziputils.h"

#include <QBuffer>
#include <QDir>
#include <QMap>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>
#include <quazip/quazip.h>
#include <quazip/quazipfile.h>

using testfiles::contentOf;
using testfiles::write;

namespace {

const QString kCommand = QStringLiteral("cmd_gen_report.txt");
const QString kReport = QStringLiteral("report.zip");
const QString kStick = QStringLiteral("/opt/stick/");
const QString kArchive = QStringLiteral("datas/0000000007.cvx");

QMap<QString, QByteArray> readZip(const QString& path)
{
    QMap<QString, QByteArray> entries;
    QuaZip zip(path);
    if (!zip.open(QuaZip::mdUnzip))
        return entries;
    for (bool more = zip.goToFirstFile(); more; more = zip.goToNextFile()) {
        QuaZipFile entry(&zip);
        if (entry.open(QIODevice::ReadOnly))
            entries[zip.getCurrentFileName()] = entry.readAll();
    }
    return entries;
}

bool makeStation()
{
    return QDir().mkpath(stationpaths::kWork) && QDir().mkpath(stationpaths::kArchives) &&
           write(stationpaths::kInfos, "Serial number: 001122334455") &&
           write(QStringLiteral("tmp/one.ozu"), "the recording") &&
           ZipUtils::createZip(kArchive, stationpaths::kInfos) &&
           ZipUtils::addFile(kArchive, QStringLiteral("tmp/one.ozu"));
}

} // namespace

class ControllerReport : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void tellsOfTheStationAndHoldsNoRecording();
    void isNotWrittenAgain();
    void stickThatRefusesIt();

private:
    /// The panel's codes.
    QList<int> obey(const QStringList& owed = {});

    QScopedPointer<QTemporaryDir> m_folder;
};

void ControllerReport::initTestCase()
{
    QVERIFY(testfiles::useTools(
        QStringLiteral("/opt/tools"),
        {{"blkid", "echo /dev/sda1: TYPE=vfat"},
         {"mount", "exec /bin/mount --bind /opt/stick \"$2\""},
         {"umount", "exec /bin/umount \"$1\""},
         {"lsusb", "echo tree of buses $*"},
         {"dmesg", "echo 'usb 1-1: new full-speed USB device'; echo 'audit: nothing of ours'"}}));
}

void ControllerReport::init()
{
    QVERIFY(QDir().mkpath(kStick) && QDir().mkpath(stationpaths::kUsbKey));
    m_folder.reset(new QTemporaryDir);
    QVERIFY(QDir::setCurrent(m_folder->path()) && makeStation());
    QVERIFY(write(kStick + kCommand, {}));
}

void ControllerReport::cleanup()
{
    QDir(kStick).removeRecursively();
}

QList<int> ControllerReport::obey(const QStringList& owed)
{
    OwedArchives owed_archives;
    for (const QString& name : owed)
        owed_archives.add(name);
    UsbKeyUtils key;
    StickCommands commands(key);
    const QSignalSpy codes(&commands, &StickCommands::syncDone);
    commands.obey(owed_archives);
    QList<int> all;
    for (const QList<QVariant>& code : codes)
        all += code.at(0).toInt();
    return all;
}

void ControllerReport::tellsOfTheStationAndHoldsNoRecording()
{
    KeptLog log;
    log.add("[CRITICAL]: Download exception on pod at index 4\n");
    QCOMPARE(obey(), QList<int>({Syncing, Copied}));
    auto report = readZip(kStick + kReport);
    QCOMPARE(report.keys(), QStringList({QStringLiteral("archives.txt"),
                                         QStringLiteral("infos.log"), QStringLiteral("kernel.txt"),
                                         QStringLiteral("owed.txt"), QStringLiteral("station.log"),
                                         QStringLiteral("system.txt"), QStringLiteral("usb.txt")}));
    QCOMPARE(report[QStringLiteral("infos.log")], QByteArray("Serial number: 001122334455"));
    QVERIFY(report[QStringLiteral("station.log")].contains("pod at index 4\n"));
    QVERIFY(report[QStringLiteral("archives.txt")].startsWith("0000000007.cvx: "));
    QVERIFY(report[QStringLiteral("archives.txt")].contains(
        " bytes, 2 entries\n  infos.log\n  one.ozu\n"));
    QCOMPARE(report[QStringLiteral("owed.txt")], QByteArray("Nothing.\n"));
    QVERIFY(report[QStringLiteral("system.txt")].contains(" bytes free of "));
    QCOMPARE(report[QStringLiteral("usb.txt")], QByteArray("tree of buses -t\n"));
    QCOMPARE(report[QStringLiteral("kernel.txt")],
             QByteArray("usb 1-1: new full-speed USB device"));
    for (const QByteArray& content : report)
        QVERIFY(!content.contains("the recording"));

    // What is owed is no check mark's matter.
    QVERIFY(write(kStick + kCommand, {}));
    QCOMPARE(obey({QStringLiteral("0000000007.cvx")}), QList<int>({Syncing}));
    report = readZip(kStick + kReport);
    QCOMPARE(report[QStringLiteral("owed.txt")], QByteArray("0000000007.cvx\n"));
    QVERIFY(report[QStringLiteral("archives.txt")].contains("2 entries, on no stick yet\n"));
}

void ControllerReport::isNotWrittenAgain()
{
    QCOMPARE(obey().size(), 2);
    QVERIFY(!QFile::exists(kStick + kCommand) && QFile::remove(kStick + kReport));
    QCOMPARE(obey(), QList<int>());
    QVERIFY(QDir().mkpath(kStick + kCommand)); // a folder is no command
    QCOMPARE(obey(), QList<int>());
    QVERIFY(QFileInfo(kStick + kCommand).isDir() && !QFile::exists(kStick + kReport));
}

void ControllerReport::stickThatRefusesIt()
{
    QVERIFY(write(kStick + kReport, "an earlier one"));
    QVERIFY(QDir().mkpath(kStick + QStringLiteral(".corvane.new/in the way")));
    QCOMPARE(obey(), QList<int>({Syncing, CopyFailed}));
    QCOMPARE(contentOf(kStick + kReport), QByteArray("an earlier one"));
    QVERIFY(!QFile::exists(kStick + kCommand));
}

QTEST_GUILESS_MAIN(ControllerReport)
#include "report.moc"
