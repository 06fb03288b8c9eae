// How data files are named, and which go when there are too many.
#include "utils/filesaver.h"

#include "support/testfiles.h"
#include "utils/ziputils.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

using testfiles::archiveName;

namespace {

const QString kExtension = QStringLiteral(".cvx");

/// An archive with so many entries; -1 for a file that is none.
bool makeDataFile(const QString& name, int entries)
{
    const QString path = QStringLiteral("datas/") + name;
    QFile info(QStringLiteral("infos.log"));
    bool made = info.open(QIODevice::WriteOnly) && ZipUtils::createZip(path);
    for (int i = 0; made && i < entries; ++i)
        made = ZipUtils::addFile(path, info.fileName());
    if (made && entries < 0)
        made = QFile::resize(path, 7);
    return made;
}

} // namespace

class StorageFileSaver : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void emptyFolder();
    void nextName_data();
    void nextName();
    void recordingsAreNeverReplaced();
    void seriesStartsOver();
    void oldestGoFirst();

private:
    QScopedPointer<QTemporaryDir> m_folder;
};

void StorageFileSaver::init()
{
    m_folder.reset(new QTemporaryDir);
    QVERIFY(QDir::setCurrent(m_folder->path()));
}

void StorageFileSaver::emptyFolder()
{
    FileSaver saver(QStringLiteral("datas"), kExtension, 25);
    QVERIFY(QDir(QStringLiteral("datas")).exists());
    QCOMPARE(saver.getCurrentFilePath(), QStringLiteral("datas/"));
    saver.createNewFile();
    QCOMPARE(saver.getCurrentFilePath(), QStringLiteral("datas/0000000000.cvx"));
    QCOMPARE(saver.listFiles(), QStringList());

    // One level only: what cannot be made yields the same names.
    const FileSaver nowhere(QStringLiteral("no/such"), kExtension, 25);
    QVERIFY(!QDir(QStringLiteral("no")).exists());
    QCOMPARE(nowhere.listFiles(), QStringList());
}

void StorageFileSaver::nextName_data()
{
    QTest::addColumn<QString>("last");
    QTest::addColumn<int>("entries");
    QTest::addColumn<QString>("next");
    const QString last = QStringLiteral("0000000041.cvx");
    QTest::newRow("recordings") << last << 3 << "datas/0000000042.cvx";
    QTest::newRow("information only") << last << 1 << "datas/0000000041.cvx";
    QTest::newRow("nothing") << last << 0 << "datas/0000000042.cvx";
    QTest::newRow("damaged") << last << -1 << "datas/0000000042.cvx";
    QTest::newRow("ten nines") << "9999999999.cvx" << 2 << "datas/10000000000.cvx";
    QTest::newRow("nineteen digits") << "9223372036854775807.cvx" << 2 << "datas/0000000001.cvx";
    QTest::newRow("no number") << "notes.txt" << -1 << "datas/0000000001.cvx";
    QTest::newRow("name shorter than the extension") << "z" << -1 << "datas/0000000001.cvx";
}

void StorageFileSaver::nextName()
{
    QFETCH(QString, last);
    QFETCH(int, entries);
    QVERIFY(QDir().mkdir(QStringLiteral("datas")));
    QVERIFY(makeDataFile(QStringLiteral("0000000007.cvx"), 2));
    QVERIFY(makeDataFile(last, entries));
    QVERIFY(QDir().mkdir(QStringLiteral("datas/zz")));
    QVERIFY(makeDataFile(QStringLiteral(".0000000099.cvx.new"), 2)); // left by a loss of power
    FileSaver saver(QStringLiteral("datas"), kExtension, 25);
    QCOMPARE(saver.getCurrentFilePath(), QStringLiteral("datas/") + last);
    saver.createNewFile();
    QTEST(saver.getCurrentFilePath(), "next");
    QCOMPARE(saver.listFiles().size(), 2);
}

void StorageFileSaver::recordingsAreNeverReplaced()
{
    // A foreign name that sorts last, and an archive that never got its information file.
    QVERIFY(QDir().mkdir(QStringLiteral("datas")));
    QVERIFY(makeDataFile(archiveName(1), 2));
    QVERIFY(makeDataFile(QStringLiteral("notes.txt"), -1));
    FileSaver saver(QStringLiteral("datas"), kExtension, 25);
    saver.createNewFile();
    QCOMPARE(saver.getCurrentFilePath(), QStringLiteral("datas/") + archiveName(2));

    QVERIFY(QFile::remove(QStringLiteral("datas/notes.txt")));
    QVERIFY(ZipUtils::createZip(QStringLiteral("datas/") + archiveName(3)));
    QVERIFY(ZipUtils::addFile(QStringLiteral("datas/") + archiveName(3),
                              QStringLiteral("infos.log"), QStringLiteral("0123456789ABCDE.ozu")));
    saver.createNewFile();
    QCOMPARE(saver.getCurrentFilePath(), QStringLiteral("datas/") + archiveName(4));

    // An archive that somebody copied there while the current one is being filled.
    QVERIFY(makeDataFile(archiveName(4), 2));
    QVERIFY(makeDataFile(archiveName(9), 1));
    saver.createNewFile();
    QCOMPARE(saver.getCurrentFilePath(), QStringLiteral("datas/") + archiveName(10));
}

void StorageFileSaver::seriesStartsOver()
{
    QVERIFY(QDir().mkpath(QStringLiteral("datas/sub")));
    QVERIFY(makeDataFile(QStringLiteral("9999998999"), 2));
    FileSaver saver(QStringLiteral("datas"), QString(), 25);
    saver.createNewFile();
    QCOMPARE(saver.getCurrentFilePath(), QStringLiteral("datas/9999999000"));
    QVERIFY(makeDataFile(QStringLiteral("9999999000"), 2));
    saver.createNewFile();
    QCOMPARE(saver.getCurrentFilePath(), QStringLiteral("datas/0000000000"));
    const QDir datas(QStringLiteral("datas"));
    QVERIFY(datas.exists() && datas.isEmpty());
}

void StorageFileSaver::oldestGoFirst()
{
    QVERIFY(QDir().mkdir(QStringLiteral("datas")));
    for (int i = 30; i > 0; --i)
        QVERIFY(makeDataFile(archiveName(i), 0));
    for (int i = 1; i <= 5; ++i)
        QTest::ignoreMessage(QtDebugMsg,
                             qPrintable(QStringLiteral("Removing: datas/") + archiveName(i)));
    const FileSaver saver(QStringLiteral("datas"), kExtension, 25);
    QCOMPARE(saver.listFiles().size(), 25);
    QCOMPARE(saver.listFiles().first(), archiveName(6));
    QCOMPARE(saver.listFiles().last(), archiveName(30));
}

QTEST_GUILESS_MAIN(StorageFileSaver)

#include "filesaver.moc"
