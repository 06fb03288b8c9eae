// The command files on the stick: what they do, and what is left when the station fails or loses
// its power at any one storage call while it obeys them.
#include "support/faultyrun.h"
#include "support/testfiles.h"
#include "utils/backupgenerator.h"
#include "utils/usbcmdutils.h"
#include "utils/ziputils.h"

#include <QDir>
#include <QFile>
#include <QMap>
#include <QRegularExpression>
#include <QtTest>

using testfiles::contentOf;
using testfiles::write;

namespace {

// The stick is the station's own mount point; its working directory lies inside, so that one faulty
// storage holds both.
const QString kStick = QStringLiteral("/media/usbkey");
const QString kStation = kStick + QStringLiteral("/station");
const QString kBackup = kStick + QStringLiteral("/backup.zip");
const QString kBackupCommand = kStick + QStringLiteral("/cmd_gen_backup.txt");
const QString kEraseCommand = kStick + QStringLiteral("/cmd_erase_datas.txt");
constexpr int kArchives = 4;

using Files = QMap<QString, QByteArray>;

Files filesOf(const QString& folder)
{
    Files files;
    for (const QString& name : QDir(folder).entryList(QDir::Files, QDir::Name))
        files.insert(name, contentOf(folder + QLatin1Char('/') + name));
    return files;
}

bool empty(const QString& folder)
{
    return QDir(folder).removeRecursively() && QDir().mkpath(folder);
}

Files backedUp()
{
    const QString unpacked = QStringLiteral("/opt/unpacked");
    if (!empty(unpacked) || !ZipUtils::extractZip(kBackup, unpacked))
        return {};
    return filesOf(unpacked);
}

/// What the panel said: the backup is on the stick, or none was asked for.
bool succeeded(const FaultyRun& run)
{
    return run.answers == QLatin1String("y");
}

} // namespace

class StorageCommands : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void eraseCounts();
    void eraseCommandThatIsNoFile();
    void backupHoldsAllNewestFirst();
    void backupStopsAtItsLimit();
    void backupHoldsHundredsOfMegabytes();
    void backupThatFailedReplacesNone();
    void backupThenErase();
    void nothingIsLost_data();
    void nothingIsLost();

private:
    static FaultyRun obey(const QString& plan = {}, const QString& lost = QStringLiteral("none"));
    void reset(bool backup, const QByteArray& erase);
    void checkNothingLost(int asked_to_erase);
    QStringList names() const { return m_archives.keys(); }

    Files m_archives;
};

void StorageCommands::initTestCase()
{
    QVERIFY(testfiles::mountDisk(kStick));
    QVERIFY(testfiles::useTools(
        QStringLiteral("/opt"),
        {{"blkid", "echo /dev/sda1:"}, {"mount", ""}, {"umount", ""}, {"sync", ""}}));
    for (int i = 0; i < kArchives; ++i)
        m_archives.insert(testfiles::archiveName(i), QByteArray(20000 + i, char('a' + i)));
}

void StorageCommands::init()
{
    reset(false, {});
}

void StorageCommands::reset(bool backup, const QByteArray& erase)
{
    for (const char* folder : {"/station", "/spare"})
        QVERIFY(empty(kStick + QLatin1String(folder)));
    for (const QString& file : QDir(kStick).entryList(QDir::Files))
        QVERIFY(QFile::remove(kStick + QLatin1Char('/') + file));
    QVERIFY(QDir().mkdir(kStation + QStringLiteral("/datas")));
    QVERIFY(QDir::setCurrent(kStation));
    for (auto archive = m_archives.cbegin(); archive != m_archives.cend(); ++archive)
        QVERIFY(write(QStringLiteral("datas/") + archive.key(), archive.value()));
    if (backup)
        QVERIFY(write(kBackupCommand, "whatever"));
    if (!erase.isEmpty())
        QVERIFY(write(kEraseCommand, erase));
}

FaultyRun StorageCommands::obey(const QString& plan, const QString& lost)
{
    return FaultyRun::of({QStringLiteral("commands")}, kStick, kStick + QStringLiteral("/spare"),
                         plan, lost);
}

void StorageCommands::eraseCounts()
{
    // Only the road that empties "datas" as a whole takes what is no archive with it.
    const auto check = [this](const char* what, const QByteArray& content, int left,
                              bool one_by_one) {
        reset(false, {});
        QVERIFY(QDir().mkdir(QStringLiteral("datas/folder")));
        QVERIFY(write(kEraseCommand, content));
        UsbCmdUtils().cmdEraseDatas(kEraseCommand);
        QVERIFY2(filesOf(QStringLiteral("datas")).keys() == names().mid(kArchives - left), what);
        QVERIFY2(QDir(QStringLiteral("datas")).exists() && !QFile::exists(kEraseCommand), what);
        QVERIFY2(QDir(QStringLiteral("datas/folder")).exists() == one_by_one, what);
    };
    const QByteArray spaces(1 << 20, ' ');
    check("one", "1", 3, true);
    check("three", "3", 1, true);
    check("white space", " \t2 \r\n", 2, true);
    check("as many as there are", "4", 0, true);
    check("more than there are", "1000000", 0, true);
    check("negative", "-1", 0, true);
    check("zero", "0", 0, false);
    check("empty", {}, 0, false);
    check("text", "three", 0, false);
    check("number and text", "1 archive", 0, false);
    check("beyond any count", "99999999999999999999", 0, false);
    check("much white space", spaces + '1' + QByteArray(1 << 20, '\n'), 3, true);
    check("text after much white space", '1' + spaces + 'x', 0, false);
    check("endless digits", QByteArray(1 << 20, '1'), 0, false);
}

void StorageCommands::eraseCommandThatIsNoFile()
{
    QVERIFY(QDir().mkdir(kEraseCommand));
    QVERIFY(QFile::link(QStringLiteral("/etc/hostname"), kBackupCommand));
    const FaultyRun run = obey();
    QVERIFY(succeeded(run));
    QCOMPARE(filesOf(QStringLiteral("datas")), m_archives);
    QVERIFY(QDir(kEraseCommand).removeRecursively() && QFile::remove(kBackupCommand));
    QVERIFY(!QFile::exists(kBackup));
}

void StorageCommands::backupHoldsAllNewestFirst()
{
    reset(true, {});
    QVERIFY(succeeded(obey()));
    Files expected;
    for (int i = 0; i < kArchives; ++i)
        expected.insert(QStringLiteral("datas_%1.cvx").arg(i + 1),
                        m_archives.value(names().at(kArchives - 1 - i)));
    QCOMPARE(backedUp(), expected);
    QCOMPARE(ZipUtils::listFiles(kBackup), QStringList(expected.keys()));
    QCOMPARE(QStringList(filesOf(QStringLiteral("datas")).keys()), QStringList(names().last()));
    QVERIFY(!QFile::exists(kBackupCommand));
    QVERIFY(!QFile::exists(QStringLiteral("backup.zip")));

    // One archive is the one in use: it is backed up and stays.
    QVERIFY(write(kBackupCommand, {}));
    QVERIFY(succeeded(obey()));
    QCOMPARE(ZipUtils::listFiles(kBackup), QStringList(QStringLiteral("datas_1.cvx")));
    QCOMPARE(QStringList(filesOf(QStringLiteral("datas")).keys()), QStringList(names().last()));

    QVERIFY(empty(QStringLiteral("datas")));
    QVERIFY(write(kBackupCommand, {}));
    QVERIFY(succeeded(obey()));
    QVERIFY(QFile::exists(kBackup));
    QCOMPARE(ZipUtils::listFiles(kBackup), QStringList());
}

void StorageCommands::backupStopsAtItsLimit()
{
    // After the second archive the backup is larger than an empty one with one of them.
    const qint64 limit =
        ZipUtils::createZip(kBackup) &&
                ZipUtils::addFile(kBackup, QStringLiteral("datas/") + names().last())
            ? QFileInfo(kBackup).size() + 1
            : 0;
    const QByteArray first =
        "Max backup size reached, stopping. Max size: " + QByteArray::number(limit);
    QTest::ignoreMessage(QtDebugMsg, first.constData());
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression(QStringLiteral("^Current size: \\d+$")));
    QVERIFY(BackupGenerator::generateBackup(kBackup, limit).complete);
    QCOMPARE(ZipUtils::listFiles(kBackup),
             QStringList({QStringLiteral("datas_1.cvx"), QStringLiteral("datas_2.cvx")}));
}

void StorageCommands::backupHoldsHundredsOfMegabytes()
{
    QVERIFY(write(QStringLiteral("datas/0000000004.cvx"), testfiles::noise(1, 60 << 20)));
    QVERIFY(BackupGenerator::generateBackup(kBackup).complete);
    QCOMPARE(ZipUtils::listFiles(kBackup).size(), kArchives + 1);
}

/// What it holds may be nowhere else any more.
void StorageCommands::backupThatFailedReplacesNone()
{
    reset(true, {});
    QVERIFY(write(kBackup, "an earlier one"));
    QVERIFY(!succeeded(obey(QStringLiteral("1+:listing"))));
    QCOMPARE(contentOf(kBackup), QByteArray("an earlier one"));
    QCOMPARE(filesOf(QStringLiteral("datas")), m_archives);
}

void StorageCommands::backupThenErase()
{
    reset(true, "0");
    QVERIFY(succeeded(obey()));
    QCOMPARE(backedUp().size(), kArchives);
    QCOMPARE(filesOf(QStringLiteral("datas")), Files());
    QVERIFY(QDir(QStringLiteral("datas")).exists());
}

void StorageCommands::nothingIsLost_data()
{
    QTest::addColumn<bool>("backup");
    QTest::addColumn<QByteArray>("erase");
    QTest::addColumn<QString>("what");
    QTest::addColumn<QString>("lost");
    const auto killed = [](bool backup, const QByteArray& erase, const char* lost) {
        QTest::addRow("backup %d, erase '%s', killed, lost %s", backup, erase.constData(), lost)
            << backup << erase << QStringLiteral("kill") << QString::fromLatin1(lost);
    };
    for (const char* lost : {"none", "all", "first", "last", "torn"})
        killed(true, {}, lost);
    for (const char* lost : {"none", "all", "first"})
        killed(false, "2", lost);
    for (const char* lost : {"none", "all"})
        killed(true, "1", lost);
    for (const char* fault : {"eio", "enospc", "short"}) {
        const QString how = QString::fromLatin1(fault);
        QTest::addRow("backup, %s", fault) << true << QByteArray() << how << QStringLiteral("none");
        QTest::addRow("erase, %s", fault)
            << false << QByteArray("1") << how << QStringLiteral("none");
    }
}

void StorageCommands::nothingIsLost()
{
    QFETCH(bool, backup);
    QFETCH(QByteArray, erase);
    QFETCH(QString, what);
    QFETCH(QString, lost);
    const bool kills = what == QLatin1String("kill");
    reset(backup, erase);
    const int calls = obey().calls;
    QVERIFY(calls > 3);
    for (int call = 1; call <= calls; ++call) {
        reset(backup, erase);
        const FaultyRun run = obey(QStringLiteral("%1:%2").arg(call).arg(what), lost);
        QCOMPARE(run.killed, kills);
        checkNothingLost(erase.toInt());
        if (backup && !kills && succeeded(run))
            QCOMPARE(backedUp().size(), kArchives);
        QVERIFY(!obey().killed);
        checkNothingLost(erase.toInt());
        if (QTest::currentTestFailed())
            qWarning("at call %d of %d", call, calls);
    }
}

void StorageCommands::checkNothingLost(int asked_to_erase)
{
    const Files local = filesOf(QStringLiteral("datas"));
    const QList<QByteArray> saved = backedUp().values();
    for (const QString& name : names().mid(asked_to_erase))
        QVERIFY2(local.value(name) == m_archives.value(name) ||
                     saved.contains(m_archives.value(name)),
                 qPrintable(name));
}

QTEST_GUILESS_MAIN(StorageCommands)

#include "commands.moc"
