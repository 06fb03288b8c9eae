// Files past 2 GiB and dates past 2038, which take more than 32 bits. Also passed as a program of
// 32-bit ARM, as boards run it.
#include "archive/archiveaddition.h"
#include "support/testfiles.h"
#include "support/zipbytes.h"
#include "system/storagefile.h"
#include "utils/ziputils.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>
#include <sys/syscall.h>

#include <array>
#include <cstdint>
#include <fcntl.h>
#include <unistd.h>

using testfiles::contentOf;
using testfiles::write;
using zipbytes::Entry;

namespace {

const QString kArchive = QStringLiteral("a.cvx");
constexpr qint64 kHoleBytes = qint64(2560) * 1024 * 1024;

/// Behind a hole that takes up no room.
bool writeBehindHole(const QByteArray& bytes)
{
    QFile file(kArchive);
    return file.open(QIODevice::WriteOnly) && file.seek(kHoleBytes) &&
           file.write(bytes) == bytes.size();
}

QByteArray behindHole()
{
    QFile file(kArchive);
    return file.open(QIODevice::ReadOnly) && file.seek(kHoleBytes) ? file.readAll() : QByteArray();
}

/// As a computer with a wrong clock dates what it writes on a stick.
bool dateAt(const QString& path, int64_t seconds)
{
    const std::array<std::array<int64_t, 2>, 2> times{{{seconds, 0}, {seconds, 0}}};
#ifdef SYS_utimensat_time64
    constexpr auto kCall = SYS_utimensat_time64;
#else
    constexpr auto kCall = SYS_utimensat;
#endif
    return ::syscall(kCall, AT_FDCWD, QFile::encodeName(path).constData(), times.data(), 0) == 0;
}

} // namespace

class StorageLarge : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void archivesPastTwoGigabytes();
    void filesDatedAfter2038();

private:
    QScopedPointer<QTemporaryDir> m_folder;
};

void StorageLarge::init()
{
    m_folder.reset(new QTemporaryDir);
    QVERIFY(QDir::setCurrent(m_folder->path()));
    QVERIFY(write(QStringLiteral("added"), "added later"));
}

void StorageLarge::archivesPastTwoGigabytes()
{
    Entry entry;
    entry.name = "first";
    entry.content = "there before";
    const QByteArray before = zipbytes::archive({entry});
    QVERIFY(writeBehindHole(before));
    QCOMPARE(ZipUtils::listFiles(kArchive), QStringList(QStringLiteral("first")));

    // Left in the middle, it is put back.
    {
        ArchiveAddition addition(kArchive);
        QVERIFY(addition.begin().added());
        const qint64 at = kHoleBytes + before.indexOf("PK\x01\x02");
        QVERIFY(addition.writeAt(at, QByteArray(100, 'h')));
        QVERIFY(addition.writeAt(at + 100, QByteArray(1000, 'b')));
        QVERIFY(behindHole() != before);
    }
    QCOMPARE(behindHole(), before);

    QVERIFY(ZipUtils::addFile(kArchive, QStringLiteral("added")));
    QVERIFY(QFile(kArchive).size() > kHoleBytes + before.size());
    QVERIFY(ZipUtils::extractZip(kArchive, QStringLiteral("out")));
    QCOMPARE(contentOf(QStringLiteral("out/first")), entry.content);
    QCOMPARE(contentOf(QStringLiteral("out/added")), QByteArray("added later"));
}

void StorageLarge::filesDatedAfter2038()
{
    constexpr int64_t kYear2107 = 4'323'000'000;
    QVERIFY(dateAt(QStringLiteral("added"), kYear2107));
    const UniqueFd fd = storage::openRegular(QStringLiteral("added"), O_RDONLY);
    QVERIFY(fd);
    QCOMPARE(storage::sizeOf(fd.get()), qint64(11));
    QVERIFY(storage::hasName(fd.get()));
    QVERIFY(ZipUtils::createZip(kArchive, QStringLiteral("added")));
    QVERIFY(ZipUtils::extractZip(kArchive, QStringLiteral("out")));
    QCOMPARE(contentOf(QStringLiteral("out/added")), QByteArray("added later"));

    QVERIFY(QFile::remove(QStringLiteral("added")));
    QVERIFY(!storage::hasName(fd.get()));
}

QTEST_GUILESS_MAIN(StorageLarge)
#include "large.moc"
