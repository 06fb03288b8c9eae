// What archives hold, how their entries are named, and what of a stranger's archive is refused.
#include "support/testfiles.h"
#include "support/zipbytes.h"
#include "utils/ziputils.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>
#include <quazip/quazip.h>

#include <sys/stat.h>

using testfiles::contentOf;
using testfiles::write;
using zipbytes::Entry;

namespace {

const QString kArchive = QStringLiteral("a.cvx");

/// The paths of everything below a folder, links and hidden files too.
QStringList allBelow(const QString& folder)
{
    QStringList found;
    QDirIterator walk(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                      QDirIterator::Subdirectories);
    while (walk.hasNext())
        found.append(walk.next().mid(folder.size() + 1));
    found.sort();
    return found;
}

Entry entry(const QByteArray& name, const QByteArray& content = "content")
{
    Entry made;
    made.name = name;
    made.content = content;
    return made;
}

} // namespace

class StorageZip : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void namesCollideDeliberatelyOddly();
    void emptyArchives();
    void additionsAsAnyProgramReadsThem();
    void refusedAdditionsChangeNothing();
    void archivesEndAtFourGigabytes();

    void everyAlignment();
    void packagesAreUnpacked();
    void hostilePackagesAreRefused_data();
    void hostilePackagesAreRefused();
    void damagedArchivesAreRefused();

private:
    QScopedPointer<QTemporaryDir> m_folder;
};

void StorageZip::init()
{
    m_folder.reset(new QTemporaryDir);
    QVERIFY(QDir::setCurrent(m_folder->path()));
}

void StorageZip::namesCollideDeliberatelyOddly()
{
    QVERIFY(QDir().mkpath(QStringLiteral("a/b")));
    QVERIFY(write(QStringLiteral("a/b/x.log"), "x"));
    QVERIFY(ZipUtils::createZip(kArchive));
    for (int i = 0; i < 13; ++i)
        QVERIFY(ZipUtils::addFile(kArchive, QStringLiteral("a/b/x.log")));
    QVERIFY(ZipUtils::addFile(kArchive, QStringLiteral("a/b/x.log"), QStringLiteral("X.log")));
    QStringList expected = {QStringLiteral("x.log")};
    for (int i = 0; i <= 10; ++i)
        expected.append(QStringLiteral("x.log_%1").arg(i));
    expected << QStringLiteral("x.log_111") << QStringLiteral("X.log");
    QCOMPARE(ZipUtils::listFiles(kArchive), expected);
    QCOMPARE(ZipUtils::incFileName({QStringLiteral("n")}, QStringLiteral("n"), 7),
             QStringLiteral("7"));
}

void StorageZip::emptyArchives()
{
    QVERIFY(ZipUtils::createZip(kArchive));
    QCOMPARE(contentOf(kArchive), QByteArray("PK\x05\x06") + QByteArray(18, '\0'));
    QCOMPARE(ZipUtils::listFiles(kArchive), QStringList());
    QVERIFY(ZipUtils::extractZip(kArchive, QStringLiteral("out")));
    QVERIFY(write(QStringLiteral("x"), "x"));
    QVERIFY(ZipUtils::addFile(kArchive, QStringLiteral("x")));
    QVERIFY(ZipUtils::createZip(kArchive));
    QCOMPARE(ZipUtils::listFiles(kArchive), QStringList());
    QVERIFY(!ZipUtils::createZip(QStringLiteral("missing/a.cvx")));
    QVERIFY(ZipUtils::deleteZip(kArchive));
    QVERIFY(!ZipUtils::deleteZip(kArchive));
    QCOMPARE(ZipUtils::listFiles(kArchive), QStringList());
}

void StorageZip::additionsAsAnyProgramReadsThem()
{
    const QString name = QString::fromUtf8("Žluťoučký 録音.ozu");
    const QByteArray content = QByteArray("0123456789abcdef").repeated(100000);
    QVERIFY(write(name, content));
    QVERIFY(write(QStringLiteral("empty"), {}));
    QFile beforeTheFormatsYears(QStringLiteral("empty"));
    QVERIFY(beforeTheFormatsYears.open(QIODevice::ReadWrite));
    QVERIFY(beforeTheFormatsYears.setFileTime(QDateTime::fromSecsSinceEpoch(0),
                                              QFileDevice::FileModificationTime));
    QVERIFY(ZipUtils::createZip(kArchive));
    QVERIFY(ZipUtils::addFile(kArchive, name));
    QVERIFY(ZipUtils::addFile(kArchive, QStringLiteral("empty")));
    QCOMPARE(ZipUtils::listFiles(kArchive), QStringList({name, QStringLiteral("empty")}));

    QuaZip zip(kArchive);
    QVERIFY(zip.open(QuaZip::mdUnzip));
    const auto entries = zip.getFileInfoList64();
    QCOMPARE(entries.size(), 2);
    constexpr int kUtf8Flag = 0x800;
    QVERIFY((entries[0].flags & kUtf8Flag) != 0);
    QCOMPARE(entries[0].name, name);
    QCOMPARE(int(entries[0].method), Z_DEFLATED);
    QCOMPARE(entries[0].uncompressedSize, quint64(content.size()));
    QVERIFY(entries[0].compressedSize < quint64(content.size() / 100));
    QCOMPARE(entries[1].dateTime.date().year(), 1980);
    zip.close();

    QVERIFY(ZipUtils::extractZip(kArchive, QStringLiteral("out")));
    QCOMPARE(contentOf(QStringLiteral("out/") + name), content);
    QCOMPARE(QFile(QStringLiteral("out/empty")).size(), 0);
}

void StorageZip::refusedAdditionsChangeNothing()
{
    QVERIFY(write(QStringLiteral("x"), "x"));
    QVERIFY(ZipUtils::createZip(kArchive));
    QVERIFY(ZipUtils::addFile(kArchive, QStringLiteral("x")));
    const QByteArray before = contentOf(kArchive);
    QVERIFY(QDir().mkdir(QStringLiteral("folder")));
    QCOMPARE(mkfifo("pipe", 0644), 0);
    for (const char* source : {"missing", "folder", "folder/", "pipe", "/dev/zero"})
        QVERIFY2(!ZipUtils::addFile(kArchive, QString::fromLatin1(source)), source);
    QVERIFY(!ZipUtils::addFile(kArchive, QStringLiteral("x"), QString()));
    QVERIFY(!ZipUtils::addFile(kArchive, QStringLiteral("x"), QString(70000, QLatin1Char('n'))));
    QFile huge(QStringLiteral("huge"));
    QVERIFY(huge.open(QIODevice::WriteOnly) && huge.resize(qint64(0xFFFFFFFF)));
    QVERIFY(!ZipUtils::addFile(kArchive, QStringLiteral("huge")));
    QCOMPARE(contentOf(kArchive), before);

    QVERIFY(!ZipUtils::addFile(QStringLiteral("missing.cvx"), QStringLiteral("x")));
    QVERIFY(!QFile::exists(QStringLiteral("missing.cvx")));
    QVERIFY(write(QStringLiteral("no.cvx"), "this is no archive"));
    QVERIFY(!ZipUtils::addFile(QStringLiteral("no.cvx"), QStringLiteral("x")));
    QCOMPARE(contentOf(QStringLiteral("no.cvx")), QByteArray("this is no archive"));
}

void StorageZip::archivesEndAtFourGigabytes()
{
    // One stored entry of sparse zeros, so that only its ends take up room.
    Entry big = entry("big", {});
    const qint64 bigBytes = 0xFFFFFFFF - 2000;
    big.claimed_bytes = bigBytes;
    QByteArray ends = zipbytes::archive({big});
    const int directoryAt = ends.indexOf("PK\x01\x02");
    const quint32 offset = qToLittleEndian(quint32(directoryAt + bigBytes));
    ends.replace(ends.size() - 6, 4, reinterpret_cast<const char*>(&offset), 4);
    QFile file(kArchive);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.write(ends.left(directoryAt)) > 0 && file.seek(directoryAt + bigBytes));
    QVERIFY(file.write(ends.mid(directoryAt)) > 0 && file.flush());
    const qint64 size = file.size();
    QCOMPARE(ZipUtils::listFiles(kArchive), QStringList(QStringLiteral("big")));

    QVERIFY(write(QStringLiteral("small"), "fits"));
    // Refused before a byte is written, and when the headers, too, take room.
    for (const int bytes : {100000, int(0xFFFFFFFE - size)}) {
        QVERIFY(write(QStringLiteral("large"), testfiles::noise(1, bytes)));
        QTest::ignoreMessage(QtInfoMsg, "Archive full: a.cvx");
        QVERIFY(!ZipUtils::addFile(kArchive, QStringLiteral("large")));
        QCOMPARE(file.size(), size);
        QCOMPARE(QFile::exists(QStringLiteral("addition.undo")), bytes < 100000);
    }
    QVERIFY(file.seek(directoryAt + bigBytes));
    QCOMPARE(file.readAll(), ends.mid(directoryAt));
    QVERIFY(ZipUtils::addFile(kArchive, QStringLiteral("small")));
    QCOMPARE(ZipUtils::listFiles(kArchive).size(), 2);
}

/// Wherever the directory begins within its block of the storage.
void StorageZip::everyAlignment()
{
    QVERIFY(ZipUtils::createZip(kArchive));
    const QByteArray content = testfiles::noise(1, 700);
    QVERIFY(write(QStringLiteral("x"), content));
    constexpr int kFiles = 60;
    for (int i = 0; i < kFiles; ++i)
        QVERIFY(ZipUtils::addFile(kArchive, QStringLiteral("x"), QString::number(i)));
    QVERIFY(ZipUtils::extractZip(kArchive, QStringLiteral("out")));
    for (int i = 0; i < kFiles; ++i)
        QCOMPARE(contentOf(QStringLiteral("out/%1").arg(i)), content);
}

void StorageZip::packagesAreUnpacked()
{
    Entry deflated = entry("app.bin", QByteArray(5000, 'b'));
    deflated.deflated = true;
    Entry folder = entry("sub/deeper/", {});
    folder.unix_mode = 0040755;
    Entry fromDos = entry("sub/app.dat", "d");
    fromDos.unix_mode = 0;
    QVERIFY(write(kArchive,
                  zipbytes::archive({entry("manifest.json", "{}"), deflated, folder, fromDos})));
    // What lies in the way is replaced; a link is not followed.
    QVERIFY(QDir().mkdir(QStringLiteral("dfu")));
    QVERIFY(write(QStringLiteral("victim"), "untouched"));
    QVERIFY(QFile::link(QStringLiteral("../victim"), QStringLiteral("dfu/app.bin")));
    QVERIFY(write(QStringLiteral("dfu/manifest.json"), "an older and longer one"));
    QVERIFY(ZipUtils::extractZip(kArchive, QStringLiteral("dfu")));
    QCOMPARE(allBelow(QStringLiteral("dfu")).join(u' '),
             QStringLiteral("app.bin manifest.json sub sub/app.dat sub/deeper"));
    QCOMPARE(contentOf(QStringLiteral("dfu/app.bin")), QByteArray(5000, 'b'));
    QCOMPARE(contentOf(QStringLiteral("dfu/manifest.json")), QByteArray("{}"));
    QCOMPARE(contentOf(QStringLiteral("victim")), QByteArray("untouched"));
}

void StorageZip::hostilePackagesAreRefused_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const auto row = [](const char* what, const QVector<Entry>& entries) {
        QTest::newRow(what) << zipbytes::archive(QVector<Entry>{entry("good")} + entries);
    };
    for (const char* name : {"", "/", "/etc/x", "../x", "a/../../x", "..", "a/..", "./x", "a//x",
                             "a\\..\\x", "\xff\xfe", "\xc0\xae\xc0\xae/x"})
        row(qPrintable(QStringLiteral("name ") + QString::fromLatin1(name)), {entry(name)});
    row("name with a zero byte", {entry(QByteArray("x\0y", 3))});
    row("name longer than a file's may be", {entry(QByteArray(256, 'n'))});
    row("name longer than the library's buffer", {entry(QByteArray(60000, 'n'))});
    row("path longer than is sensible", {entry(QByteArray("d/").repeated(600) + 'n')});
    row("same name twice", {entry("x"), entry("x")});
    row("file where a folder is", {entry("x/y"), entry("x")});
    row("folder where a file is", {entry("x"), entry("x/y")});
    Entry special = entry("x", "/etc/passwd");
    for (const quint32 mode : {0120777U, 0010644U, 0020644U, 0060644U, 0140644U, 0040755U}) {
        special.unix_mode = mode;
        row(qPrintable(QStringLiteral("mode %1").arg(mode, 0, 8)), {special});
    }
    Entry link = special;
    link.unix_mode = 0120777;
    row("entry through a link", {link, entry("x/y")});
    Entry locked = entry("x");
    locked.flags = 1;
    row("encrypted", {locked});
    Entry damaged = entry("x");
    damaged.claimed_crc = 1;
    row("wrong checksum", {damaged});
    QVector<Entry> many;
    for (int number = 0; number < 64; ++number)
        many.append(entry(QByteArray::number(number)));
    row("too many entries", many);
    Entry bomb = entry("x", QByteArray(40 << 20, '\0'));
    bomb.deflated = true;
    Entry secondBomb = bomb;
    secondBomb.name = "y";
    row("unpacks to too much", {bomb, secondBomb});
    bomb.claimed_bytes = 0xFFFFFFFF;
    row("claims too much", {bomb});
    bomb.claimed_bytes = 10;
    row("claims too little", {bomb});
    Entry shorter = entry("x");
    shorter.deflated = true;
    shorter.claimed_bytes = shorter.content.size() + 1;
    row("is shorter than it claims", {shorter});
}

void StorageZip::hostilePackagesAreRefused()
{
    QFETCH(QByteArray, bytes);
    QVERIFY(write(kArchive, bytes));
    QVERIFY(QDir().mkdir(QStringLiteral("dfu")));
    QVERIFY(!ZipUtils::extractZip(kArchive, QStringLiteral("dfu")));
    QCOMPARE(allBelow(QStringLiteral("dfu")), QStringList());
    QCOMPARE(allBelow(QStringLiteral(".")), QStringList({kArchive, QStringLiteral("dfu")}));
}

void StorageZip::damagedArchivesAreRefused()
{
    Entry deflated = entry("two", QByteArray(100, 'b'));
    deflated.deflated = true;
    const QByteArray whole = zipbytes::archive({entry("one"), deflated, entry("three")});
    const QStringList names = {QStringLiteral("one"), QStringLiteral("two"),
                               QStringLiteral("three")};
    for (int cut = 0; cut < whole.size(); ++cut) {
        QVERIFY(write(kArchive, whole.left(cut)));
        QCOMPARE(ZipUtils::listFiles(kArchive), QStringList());
        QVERIFY(!ZipUtils::extractZip(kArchive, QStringLiteral("out")));
    }
    for (int at = 0; at < whole.size(); ++at) {
        QByteArray flipped = whole;
        flipped[at] = char(~flipped[at]);
        QVERIFY(write(kArchive, flipped));
        QVERIFY(ZipUtils::listFiles(kArchive).size() <= names.size());
        const bool unpacked = ZipUtils::extractZip(kArchive, QStringLiteral("out"));
        QCOMPARE(allBelow(QStringLiteral("out")).isEmpty(), !unpacked);
        QVERIFY(QDir(QStringLiteral("out")).removeRecursively());
    }
    QVERIFY(write(kArchive, "stray bytes" + whole));
    QCOMPARE(ZipUtils::listFiles(kArchive), names);
    QVERIFY(ZipUtils::extractZip(kArchive, QStringLiteral("out")));
}

QTEST_GUILESS_MAIN(StorageZip)

#include "zip.moc"
