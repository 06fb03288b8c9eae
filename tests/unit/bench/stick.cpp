#include "privateroot/servedstick.h"
#include "system/uniquefd.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>
#include <sys/statvfs.h>

#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

/// The bench's stick as a program sees it: mounted for real, in a root of its own.
class BenchStickTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void showsWhatIsOnIt();
    void isFullWhenItIs();
    void losesWhatComesAfterItsByte();
    void keepsNotWhatItWasGiven();
    void failsOncePulledByHand();
    void isRefusedToUnmountWhileBusy();

private:
    void mount(const StickPlan& plan);
    static int umount() { return QProcess::execute(QStringLiteral("umount"), {kMountPoint}); }
    UniqueFd open(const char* name, int flags) const;

    static const QString kMountPoint;
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<ServedStick> m_stick;
};

const QString BenchStickTest::kMountPoint = QStringLiteral("/media/stick");

namespace {

/// 0, or why not all of it was taken.
int writeError(const UniqueFd& file, const QByteArray& bytes)
{
    const ssize_t written = ::write(file.get(), bytes.constData(), size_t(bytes.size()));
    return written == bytes.size() ? 0 : (written < 0 ? errno : EAGAIN);
}

QByteArray contentOf(const UniqueFd& file)
{
    QByteArray bytes(100000, '\0');
    bytes.resize(int(::pread(file.get(), bytes.data(), size_t(bytes.size()), 0)));
    return bytes;
}

int syncError(const UniqueFd& file)
{
    return ::fsync(file.get()) == 0 ? 0 : errno;
}

} // namespace

void BenchStickTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir().mkpath(kMountPoint));
}

void BenchStickTest::cleanup()
{
    QCOMPARE(umount(), 0);
    QVERIFY(QDir(kMountPoint).isEmpty());
}

void BenchStickTest::mount(const StickPlan& plan)
{
    m_stick = std::make_unique<ServedStick>(m_folder->filePath(QStringLiteral("stick")),
                                            m_folder->path(), plan);
    m_stick->setInserted(true);
    QCOMPARE(QProcess::execute(QStringLiteral(CORVANE_STICK_PROGRAM),
                               {m_folder->filePath(QStringLiteral("stick")),
                                m_folder->filePath(QStringLiteral("stick-inserted")),
                                m_folder->filePath(QStringLiteral("stick.log")), kMountPoint}),
             0);
}

UniqueFd BenchStickTest::open(const char* name, int flags) const
{
    const QByteArray path = QFile::encodeName(kMountPoint) + '/' + name;
    return UniqueFd(::open(path.constData(), flags | O_CLOEXEC, 0644));
}

void BenchStickTest::showsWhatIsOnIt()
{
    StickPlan plan;
    const QString odd = QStringLiteral("; a \"$(b)\"\nc");
    plan.items = {{odd, StickItem::Kind::Text, QStringLiteral("3"), 0},
                  {QStringLiteral("bad"), StickItem::Kind::Unreadable, {}, 0},
                  {QStringLiteral("big"), StickItem::Kind::Sparse, {}, quint64(2) << 30},
                  {QStringLiteral("dir"), StickItem::Kind::Folder, {}, 0},
                  {QStringLiteral("link"), StickItem::Kind::Link, QStringLiteral("nowhere"), 0}};
    mount(plan);
    const QDir stick(kMountPoint);
    QCOMPARE(stick.entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot, QDir::Name),
             QStringList({odd, QStringLiteral("bad"), QStringLiteral("big"), QStringLiteral("dir"),
                          QStringLiteral("link")}));
    QCOMPARE(m_stick->listing(2),
             QStringList({QStringLiteral("; a \"$(b)\"?c  1 bytes"),
                          QStringLiteral("bad  16 bytes"), QStringLiteral("and 3 more")}));
    QFile text(stick.filePath(odd));
    QVERIFY(text.open(QIODevice::ReadOnly));
    QCOMPARE(text.readAll(), QByteArray("3"));
    text.close();
    QFile bad(stick.filePath(QStringLiteral("bad")));
    QVERIFY(bad.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
    char byte = 0;
    QCOMPARE(bad.read(&byte, 1), qint64(-1));
    bad.close();
    QCOMPARE(QFileInfo(stick.filePath(QStringLiteral("big"))).size(), qint64(2) << 30);

    QVERIFY(stick.mkpath(QStringLiteral("dir/deeper")));
    QVERIFY(QFile::rename(stick.filePath(QStringLiteral("big")),
                          stick.filePath(QStringLiteral("dir/deeper/big"))));
    QVERIFY(QFile::remove(stick.filePath(QStringLiteral("dir/deeper/big"))));
    QVERIFY(QFile::remove(stick.filePath(QStringLiteral("link"))));
    QVERIFY(!m_stick->holds(QStringLiteral("link")) && m_stick->holds(QStringLiteral("dir")));
}

void BenchStickTest::isFullWhenItIs()
{
    StickPlan plan;
    plan.settings.size_bytes = 10000;
    plan.items = {{QStringLiteral("a"), StickItem::Kind::Sparse, {}, 4000}};
    mount(plan);
    const QString target = QStringLiteral("b");
    {
        const UniqueFd file = open("b", O_WRONLY | O_CREAT);
        QCOMPARE(writeError(file, QByteArray(5000, 'x')), 0);
        QCOMPARE(writeError(file, QByteArray(5000, 'x')), EAGAIN); // as much as fits
        QCOMPARE(writeError(file, QByteArray(1, 'x')), ENOSPC);
        QCOMPARE(::ftruncate(file.get(), 6001), -1);
        QCOMPARE(syncError(file), 0);
        QCOMPARE(*m_stick->bytesOf(target), qint64(6000));
        const UniqueFd nameless = open("a", O_WRONLY);
        QVERIFY(QFile::remove(kMountPoint + QStringLiteral("/a"))); // makes room
        QCOMPARE(::ftruncate(nameless.get(), 0), 0);                // not twice
        QVERIFY(!QFile::remove(kMountPoint + QStringLiteral("/a")));
        QCOMPARE(writeError(file, QByteArray(3000, 'x')), 0);
    }
    QVERIFY(open("b", O_WRONLY | O_TRUNC));
    struct statvfs space = {};
    QCOMPARE(::statvfs(QFile::encodeName(kMountPoint).constData(), &space), 0);
    QCOMPARE(quint64(space.f_bavail) * space.f_frsize, quint64(8192));
}

void BenchStickTest::losesWhatComesAfterItsByte()
{
    StickPlan plan;
    plan.settings.pull_at_byte = 1500000;
    mount(plan);
    const UniqueFd file = open("a", O_WRONLY | O_CREAT);
    QCOMPARE(writeError(file, QByteArray(1000000, 'x')), 0);
    QCOMPARE(syncError(file), 0);
    QCOMPARE(m_stick->complaints().size(), 1);               // not there yet
    QCOMPARE(writeError(file, QByteArray(1000000, 'y')), 0); // nobody has noticed yet
    QCOMPARE(writeError(file, QByteArray(1000000, 'z')), 0);
    QCOMPARE(syncError(file), EIO);
    QVERIFY(!m_stick->inserted());
    QCOMPARE(m_stick->complaints(), QStringList());
    QCOMPARE(*m_stick->bytesOf(QStringLiteral("a")), qint64(1500000));
    QVERIFY(!open("b", O_WRONLY | O_CREAT));
    QCOMPARE(errno, EIO);
}

/// It says yes to everything, and the system's cache has every byte: only reading past the cache
/// tells.
void BenchStickTest::keepsNotWhatItWasGiven()
{
    StickPlan plan;
    plan.settings.loses_from_byte = 10000;
    plan.settings.flips_at_byte = 5000;
    mount(plan);
    const QByteArray bytes(20480, 'x'); // whole pages, which the cache keeps
    {
        const UniqueFd file = open("a", O_WRONLY | O_CREAT);
        QCOMPARE(writeError(file, bytes.left(8192)), 0);
        QCOMPARE(writeError(file, bytes.mid(8192)), 0);
        QCOMPARE(syncError(file), 0);
    }
    const UniqueFd file = open("a", O_RDONLY);
    QCOMPARE(contentOf(file), bytes);
    QCOMPARE(::posix_fadvise(file.get(), 0, 0, POSIX_FADV_DONTNEED), 0);
    QByteArray kept = QByteArray(10000, 'x') + QByteArray(10480, '\0');
    kept[5000] = 'x' ^ 1;
    QCOMPARE(contentOf(file), kept);
}

void BenchStickTest::failsOncePulledByHand()
{
    mount({});
    const UniqueFd file = open("a", O_RDWR | O_CREAT);
    QCOMPARE(writeError(file, "abc"), 0);
    m_stick->setInserted(false);
    m_stick->setInserted(true); // another insertion is nothing to this mount
    QCOMPARE(syncError(file), EIO);
    QVERIFY(!QFile::remove(kMountPoint + QStringLiteral("/a")));
    const UniqueFd root(::open(QFile::encodeName(kMountPoint).constData(), O_RDONLY | O_CLOEXEC));
    QVERIFY(!root);
}

void BenchStickTest::isRefusedToUnmountWhileBusy()
{
    mount({});
    {
        const UniqueFd file = open("a", O_WRONLY | O_CREAT);
        QCOMPARE(writeError(file, "abc"), 0);
        QVERIFY(umount() != 0);
    }
    QCOMPARE(*m_stick->bytesOf(QStringLiteral("a")), qint64(3));
}

QTEST_GUILESS_MAIN(BenchStickTest)
#include "stick.moc"
