#include "main/stickcommands.h"
#include "support/testfiles.h"
#include "support/zipbytes.h"
#include "utils/usbkeyutils.h"

#include <QDir>
#include <QFile>
#include <QTest>

using testfiles::write;
using testfiles::writeTool;
using zipbytes::Entry;

namespace {

const QString kStick = QStringLiteral("/opt/stick");
const QString kPackage = kStick + QStringLiteral("/app.zip");

/// What the station said of the package, in the order it did.
QStringList g_said; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables): a handler

void hear(QtMsgType type, const QMessageLogContext& /*context*/, const QString& message)
{
    const bool of_package = message.contains(QLatin1String("firmware")) ||
                            message.contains(QLatin1String("update package")) ||
                            message == QLatin1String("Failed to mount usbkey");
    if (type == QtInfoMsg && of_package)
        g_said.append(message);
}

Entry entry(const char* name)
{
    Entry entry;
    entry.name = name;
    entry.content = "content";
    return entry;
}

QByteArray packageOf(std::initializer_list<const char*> names)
{
    QVector<Entry> entries;
    for (const char* name : names)
        entries.append(entry(name));
    return zipbytes::archive(entries);
}

QByteArray goodPackage()
{
    return packageOf({"manifest.json", "app.bin", "app.dat"});
}

bool takeFirmware()
{
    UsbKeyUtils usbkey;
    return StickCommands(usbkey).takeFirmware();
}

} // namespace

/// The check for new firmware at the station's start, with a stick of every kind.
class DfuPackage : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void isTakenOrLeft();
    void isNoLinkAndNoFolder();
    void noStick();

private:
    QtMessageHandler m_handler = nullptr;
};

void DfuPackage::initTestCase()
{
    QVERIFY(testfiles::useTools(QStringLiteral("/opt/tools"),
                                {{"mount", "exec /bin/mount --bind /opt/stick \"$2\""},
                                 {"umount", "exec /bin/umount \"$1\""}}));
    m_handler = qInstallMessageHandler(hear);
}

void DfuPackage::cleanupTestCase()
{
    qInstallMessageHandler(m_handler);
}

void DfuPackage::init()
{
    QVERIFY(writeTool(QStringLiteral("/opt/tools/blkid"), "echo /dev/sda1: TYPE=vfat"));
    QVERIFY(QDir(kStick).removeRecursively() && QDir().mkpath(kStick));
    const QString station = QStringLiteral("/opt/Corvane");
    QVERIFY(QDir(station).removeRecursively() && QDir().mkpath(station));
    QVERIFY(QDir::setCurrent(station));
    g_said.clear();
}

void DfuPackage::isTakenOrLeft()
{
    const auto check = [this](const QByteArray& package, const QStringList& said) {
        init();
        QVERIFY(write(kPackage, package));
        const bool taken = said.size() == 1;
        QCOMPARE(takeFirmware(), taken);
        QCOMPARE(g_said, said);
        QCOMPARE(QFile::exists(kPackage), !taken);
        QCOMPARE(QDir(QStringLiteral("dfu")).entryList(QDir::Files).size(), taken ? 3 : 0);
        QVERIFY(!QFile::exists(QStringLiteral("app.dat")));
        QVERIFY(QDir(QStringLiteral("/media/usbkey")).isEmpty());
    };
    const QString none = QStringLiteral("No new firmware");
    const QStringList taken(QStringLiteral("New firmware on usbkey"));
    const QStringList invalid{QStringLiteral("Invalid update package"), none};
    const QStringList not_unzipped{QStringLiteral("Failed to unzip firmware"), none};
    check(goodPackage(), taken);
    check(packageOf({"manifest.json", "app.bin", "app.dat", "readme.txt"}), invalid);
    check(packageOf({"manifest.json", "app.bin", "app.dat", ".readme"}), invalid);
    check(packageOf({"manifest.json", "app.bin", "app.dat", "notes/readme.txt"}), taken);
    check(packageOf({"manifest.json", "app.bin"}), invalid);
    check(packageOf({"a", "app.bin", "app.dat"}), invalid);
    check(packageOf({}), invalid);
    check(goodPackage().chopped(10), not_unzipped);
    check(packageOf({"manifest.json", "app.bin", "../app.dat"}), not_unzipped);
}

void DfuPackage::isNoLinkAndNoFolder()
{
    const QString elsewhere = QStringLiteral("/opt/elsewhere.zip");
    QVERIFY(write(elsewhere, goodPackage()) && QFile::link(elsewhere, kPackage));
    QVERIFY(!takeFirmware());
    QVERIFY(QFile::remove(kPackage) && QDir().mkpath(kPackage));
    QVERIFY(!takeFirmware());
    const QString none = QStringLiteral("No new firmware");
    QCOMPARE(g_said, QStringList({none, none}));
    QVERIFY(QFile::exists(elsewhere) && QFile::exists(kPackage));
}

void DfuPackage::noStick()
{
    QVERIFY(writeTool(QStringLiteral("/opt/tools/blkid"), "true"));
    QVERIFY(write(kPackage, goodPackage()));
    QVERIFY(!takeFirmware());
    QCOMPARE(g_said, QStringList(QStringLiteral("Failed to mount usbkey")));
    QVERIFY(QFile::exists(kPackage));
}

QTEST_GUILESS_MAIN(DfuPackage)
#include "package.moc"
