// The stick through the system's tools, as fakes on PATH play them, and what is copied onto it.
#include "support/testfiles.h"
#include "system/childprocess.h"
#include "utils/usbkeyutils.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>

#include <cerrno>
#include <csignal>

using testfiles::contentOf;
using testfiles::write;

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

const QByteArray kKeyListed = "echo '/dev/mmcblk0p1: TYPE=\"ext4\"'; "
                              "echo '/dev/sdb12: TYPE=\"vfat\"'; echo '/dev/sda1: TYPE=\"vfat\"'";
const QByteArray kHangs = "echo $$ > hanging.pid; exec sleep 600";
const QByteArray kDies = "kill -SEGV $$";
const QByteArray kFloods = "yes a line of no meaning | head -c 9000000";

// Long enough for an honest tool on a busy machine; short for the tools that never end.
constexpr milliseconds kAmple = seconds(30);
constexpr milliseconds kBrief = milliseconds(200);

/// A tool that hangs after others that must not run out of time first.
constexpr milliseconds kFair = seconds(3);

milliseconds limitFor(int mountCode, int umountCode)
{
    if (mountCode == -2)
        return kBrief;
    return mountCode == -3 || umountCode == -3 ? kFair : kAmple;
}

/// A tool that notes its call in "calls" and then does what the script says.
bool makeTool(const QString& name, const QByteArray& script)
{
    return testfiles::writeTool(QStringLiteral("bin/") + name,
                                "echo \"$(basename $0) $*\" >> calls\n" + script);
}

QStringList calls()
{
    const QString noted = QString::fromUtf8(contentOf(QStringLiteral("calls")));
    return noted.split(u'\n', Qt::SkipEmptyParts);
}

} // namespace

Q_DECLARE_METATYPE(UsbKeyUtils::Copy)

class StorageUsbKey : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_path = qgetenv("PATH"); }
    void init();
    void cleanup() { qputenv("PATH", m_path); }

    void firstDiskIsMountedOnce();
    void codes_data();
    void codes();
    void copies();
    void refusedCopies();
    void room_data();
    void room();
    void ownDiskIsNoStick();
    void entries();
    void childIsBoundedAndReaped();

private:
    QByteArray m_path;
    QScopedPointer<QTemporaryDir> m_folder;
    QString m_mount_point;
};

void StorageUsbKey::init()
{
    m_folder.reset(new QTemporaryDir);
    QVERIFY(QDir::setCurrent(m_folder->path()));
    QVERIFY(QDir().mkdir(QStringLiteral("bin")));
    m_mount_point = m_folder->filePath(QStringLiteral("media/usb key"));
    QVERIFY(makeTool(QStringLiteral("blkid"), kKeyListed));
    QVERIFY(makeTool(QStringLiteral("mount"), "exec /bin/mount -t tmpfs key \"$2\""));
    QVERIFY(makeTool(QStringLiteral("umount"), "exec /bin/umount \"$1\""));
    qputenv("PATH", m_folder->filePath(QStringLiteral("bin")).toUtf8() + ':' + m_path);
}

void StorageUsbKey::firstDiskIsMountedOnce()
{
    {
        UsbKeyUtils key(m_mount_point);
        QVERIFY(QDir(m_mount_point).exists());
        QCOMPARE(key.umountKey(), 0);
        QVERIFY(!key.mounted());
        QCOMPARE(calls(), QStringList());
        QCOMPARE(key.mountKey(), 0);
        QCOMPARE(key.mountKey(), 0);
        QVERIFY(key.mounted());
        QCOMPARE(key.umountKey(), 0);
        QVERIFY(!key.mounted());
        QCOMPARE(key.mountKey(), 0);
    }
    // The name is cut at nine characters; a mounted stick is unmounted at the end.
    const QString mount = QStringLiteral("mount /dev/sdb1 ") + m_mount_point;
    const QString umount = QStringLiteral("umount ") + m_mount_point;
    const QString blkid = QStringLiteral("blkid ");
    QCOMPARE(calls(), QStringList({blkid, mount, umount, blkid, mount, umount}));
}

void StorageUsbKey::codes_data()
{
    QTest::addColumn<QString>("tool");
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<int>("mountCode");
    QTest::addColumn<int>("umountCode");
    const auto row = [](const char* what, const char* tool, const QByteArray& script, int mountCode,
                        int umountCode) {
        QTest::newRow(what) << QString::fromLatin1(tool) << script << mountCode << umountCode;
    };
    row("no stick", "blkid", "echo '/dev/mmcblk0p1: TYPE=\"ext4\"'", -1, 0);
    row("blkid finds nothing", "blkid", "exit 2", -1, 0);
    row("blkid lists and fails", "blkid", kKeyListed + "; exit 2", 0, 0);
    row("blkid lists and dies", "blkid", kKeyListed + ';' + kDies, 0, 0);
    row("blkid floods", "blkid", kKeyListed + ';' + kFloods, 0, 0);
    row("blkid floods its errors", "blkid", kKeyListed + ';' + kFloods + " >&2", 0, 0);
    row("blkid reads its input", "blkid", "cat; " + kKeyListed, 0, 0);
    row("blkid hangs", "blkid", kKeyListed + ';' + kHangs, -2, 0);
    row("blkid floods for ever", "blkid", kKeyListed + "; exec yes", -2, 0);
    row("blkid hangs up and hangs", "blkid", "exec >&- 2>&-;" + kHangs, -2, 0);
    row("mount refuses", "mount", "echo no such disk >&2; exit 32", 0, 0);
    row("mount floods", "mount", kFloods, 0, 0);
    row("mount hangs", "mount", kHangs, -3, 0);
    row("mount dies", "mount", kDies, -4, 0);
    row("umount refuses", "umount", "exit 32", 0, 0);
    row("umount hangs", "umount", kHangs, 0, -3);
    row("umount dies", "umount", kDies, 0, -4);
}

void StorageUsbKey::codes()
{
    QFETCH(QString, tool);
    QFETCH(QByteArray, script);
    QFETCH(int, mountCode);
    QFETCH(int, umountCode);
    QVERIFY(makeTool(tool, script));
    UsbKeyUtils key(m_mount_point, limitFor(mountCode, umountCode));
    QCOMPARE(key.mountKey(), mountCode);
    QCOMPARE(key.mounted(), mountCode == 0);
    QCOMPARE(key.umountKey(), umountCode);
    QCOMPARE(key.mounted(), umountCode != 0);
    // A tool that hung is gone, not left as a zombie either.
    const int pid = contentOf(QStringLiteral("hanging.pid")).trimmed().toInt();
    QVERIFY(pid == 0 || (::kill(pid, 0) == -1 && errno == ESRCH));
    QVERIFY(makeTool(QStringLiteral("umount"), "exec /bin/umount \"$1\""));
}

void StorageUsbKey::copies()
{
    const QByteArray recordings = QByteArray("recordings").repeated(100000);
    const QString onKey = m_mount_point + QStringLiteral("/QVX_DATAS.cvx");
    QVERIFY(QDir().mkdir(QStringLiteral("datas")));
    QVERIFY(write(QStringLiteral("datas/1.cvx"), recordings));
    UsbKeyUtils key(m_mount_point);
    QCOMPARE(key.mountKey(), 0);
    QVERIFY(write(onKey, "older"));
    QVERIFY(key.copyFileToUsbKey(QStringLiteral("datas/1.cvx"), QStringLiteral("QVX_DATAS.cvx")));
    QCOMPARE(contentOf(onKey), recordings);
    QVERIFY(write(QStringLiteral("datas/1.cvx"), "shorter"));
    QVERIFY(key.copyFileToUsbKey(QStringLiteral("datas/1.cvx"), QStringLiteral("QVX_DATAS.cvx")));
    QCOMPARE(contentOf(onKey), QByteArray("shorter"));
}

void StorageUsbKey::refusedCopies()
{
    const QString name = QStringLiteral("x");
    const QString onKey = m_mount_point + QStringLiteral("/x");
    UsbKeyUtils key(m_mount_point);
    QCOMPARE(key.mountKey(), 0);
    QVERIFY(write(onKey, "older"));
    QVERIFY(!key.copyFileToUsbKey(QStringLiteral("missing"), name));
    QCOMPARE(contentOf(onKey), QByteArray("older"));
    QVERIFY(!key.copyFileToUsbKey(QStringLiteral("bin"), name));
    QCOMPARE(contentOf(onKey), QByteArray("older"));
    QVERIFY(QFile::remove(onKey) && QDir().mkdir(onKey));
    QVERIFY(write(QStringLiteral("source"), "source"));
    QVERIFY(!key.copyFileToUsbKey(QStringLiteral("source"), name));
    QVERIFY(QDir(onKey).exists());
}

/// A stick of a MiB: what is on it, what is to be written, what becomes of both.
void StorageUsbKey::room_data()
{
    QTest::addColumn<int>("older_kib");
    QTest::addColumn<int>("foreign_kib");
    QTest::addColumn<int>("new_kib");
    QTest::addColumn<UsbKeyUtils::Copy>("result");
    QTest::newRow("both") << 300 << 0 << 400 << UsbKeyUtils::Copy::Done;
    QTest::newRow("in its place alone") << 600 << 0 << 600 << UsbKeyUtils::Copy::Done;
    QTest::newRow("none") << 300 << 600 << 500 << UsbKeyUtils::Copy::NoRoom;
    QTest::newRow("none at all") << 0 << 600 << 2000 << UsbKeyUtils::Copy::NoRoom;
}

void StorageUsbKey::room()
{
    QFETCH(int, older_kib);
    QFETCH(int, foreign_kib);
    QFETCH(int, new_kib);
    const QByteArray older(older_kib * 1024, 'o');
    const QByteArray newer(new_kib * 1024, 'n');
    QVERIFY(makeTool(QStringLiteral("mount"), "exec /bin/mount -t tmpfs -o size=1m key \"$2\""));
    UsbKeyUtils key(m_mount_point);
    QCOMPARE(key.mountKey(), 0);
    const QString on_key = key.pathOf(QStringLiteral("x"));
    QVERIFY(write(on_key, older) && write(QStringLiteral("source"), newer));
    QVERIFY(write(key.pathOf(QStringLiteral("foreign")), QByteArray(foreign_kib * 1024, 'f')));
    // What a copy cut short by the power left: it must not take the room of the next.
    QVERIFY(write(key.pathOf(QStringLiteral(".corvane.new")), QByteArray(50 * 1024, 'd')));
    const UsbKeyUtils::Copy result = key.copyWhole(QStringLiteral("source"), QStringLiteral("x"));
    QTEST(result, "result");
    QCOMPARE(contentOf(on_key), result == UsbKeyUtils::Copy::Done ? newer : older);
    QVERIFY(!QFile::exists(key.pathOf(QStringLiteral(".corvane.new"))));
}

void StorageUsbKey::ownDiskIsNoStick()
{
    const QString name = QStringLiteral("x");
    const QString beneath = m_mount_point + QStringLiteral("/x");
    UsbKeyUtils key(m_mount_point);
    QVERIFY(write(QStringLiteral("source"), "source"));
    QVERIFY(write(beneath, "older"));
    const auto refused = [&] {
        return !key.copyFileToUsbKey(QStringLiteral("source"), name) &&
               key.lookUp(name) == UsbKeyUtils::Entry::None;
    };
    QVERIFY(refused()); // not mounted yet
    QVERIFY(makeTool(QStringLiteral("mount"), "exit 32"));
    QCOMPARE(key.mountKey(), 0);
    QVERIFY(refused());
    QCOMPARE(contentOf(beneath), QByteArray("older"));
}

void StorageUsbKey::entries()
{
    using Entry = UsbKeyUtils::Entry;
    UsbKeyUtils key(m_mount_point);
    QCOMPARE(key.mountKey(), 0);
    const QDir root(m_mount_point);
    QVERIFY(write(root.filePath(QStringLiteral("file")), "x"));
    QVERIFY(root.mkdir(QStringLiteral("folder")));
    QVERIFY(QFile::link(QStringLiteral("file"), root.filePath(QStringLiteral("link"))));
    QVERIFY(QFile::link(QStringLiteral("nothing"), root.filePath(QStringLiteral("broken"))));
    QCOMPARE(::mkfifo(QFile::encodeName(root.filePath(QStringLiteral("pipe"))), 0600), 0);
    QCOMPARE(key.lookUp(QStringLiteral("file")), Entry::File);
    QCOMPARE(key.lookUp(QStringLiteral("nothing")), Entry::None);
    for (const char* other : {"folder", "link", "broken", "pipe"})
        QCOMPARE(key.lookUp(QLatin1String(other)), Entry::Other);
}

void StorageUsbKey::childIsBoundedAndReaped()
{
    using End = ChildProcess::End;
    const auto flood = ChildProcess::run(
        QStringLiteral("sh"), {QStringLiteral("-c"), QString::fromLatin1(kFloods)}, kAmple);
    QCOMPARE(flood.end, End::Exited);
    QCOMPARE(flood.output.size(), ChildProcess::kMaxOutputBytes);
    QVERIFY(flood.output.startsWith("a line of no meaning\n"));
    QCOMPARE(ChildProcess::run(QStringLiteral("no-such-tool"), {}, kAmple).end, End::NotFinished);
    const auto exact =
        ChildProcess::run(QStringLiteral("printf"),
                          {QStringLiteral("%s|"), QStringLiteral("a b"), QString()}, kAmple);
    QCOMPARE(exact.output, QByteArray("a b||"));
}

QTEST_GUILESS_MAIN(StorageUsbKey)

#include "usbkey.moc"
