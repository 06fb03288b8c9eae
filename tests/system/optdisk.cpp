#include "machine/optdisk.h"

#include "common/badinput.h"
#include "site/benchfolder.h"

#include <QTemporaryDir>
#include <QtTest>

/// The way of the station's files onto its disk and back, without a machine between.
class OptDiskTest : public QObject
{
    Q_OBJECT

private slots:
    void bringsEverythingBack();
    void keepsTheFolderWhenItCannotRead();
};

namespace {

// With what a command line or a debugger of file systems could stumble over.
const QString kKept = QStringLiteral("kept here, please");
const QString kArchive = QStringLiteral("datas/0000000000.cvx");

void write(const QString& path)
{
    QFile file(path);
    QVERIFY(QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write("recordings"), qint64(10));
}

} // namespace

void OptDiskTest::bringsEverythingBack()
{
    const QTemporaryDir parent;
    const BenchFolder folder(parent.filePath(kKept));
    const QString archive = QDir(folder.station()).filePath(kArchive);
    const QString launcher = QDir(folder.launcher()).filePath(QStringLiteral("CorvaneLauncher"));
    write(archive);
    write(launcher);
    const OptDisk disk(folder, QDir(folder.path()).filePath(QStringLiteral("opt.img")));
    QVERIFY(QFile::remove(archive) && QFile::remove(launcher));
    const QString later = QDir(folder.station()).filePath(QStringLiteral("later"));
    write(later);

    disk.unpack();
    QVERIFY(QFile::exists(archive) && QFile::exists(launcher) && !QFile::exists(later));
    QCOMPARE(QDir(folder.path()).entryList({QStringLiteral("unpacked*")}), QStringList());
}

void OptDiskTest::keepsTheFolderWhenItCannotRead()
{
    const QTemporaryDir parent;
    const BenchFolder folder(parent.filePath(kKept));
    const QString archive = QDir(folder.station()).filePath(kArchive);
    const OptDisk disk(folder, QDir(folder.path()).filePath(QStringLiteral("opt.img")));
    write(archive);
    QVERIFY(QFile::resize(disk.image(), 1 << 20));
    QVERIFY_EXCEPTION_THROWN(disk.unpack(), BadInput);
    QVERIFY(QFile::exists(archive));
}

QTEST_GUILESS_MAIN(OptDiskTest)
#include "optdisk.moc"
