#include "bus/usbaddress.h"
#include "machine/machineshell.h"
#include "support/machinetest.h"
#include "system/testedcomputer.h"

#include <QtTest>

#include <memory>

/// The station as a board has it: installed from its packages, then started by systemd with the
/// board. Leaves a picture of its screen, installed.png, in the folder where it runs.
class Package : public QObject
{
    Q_OBJECT

private slots:
    void worksAndKeepsRecordings();

private:
    void install();
    void archive();
    void bootAnew();
    void replaceLauncher();
    void killInCopy();
    void remount();
    void upgrade();
    void remove();
    void judgeRun();

    bool comesTrue(const Condition& condition);
    bool startsAgain();
    void plug(int slot);

    std::unique_ptr<Bench> m_bench;
    MachineSite* m_site = nullptr; ///< the bench's
    int m_starts = 0;              ///< of the program, seen so far
};

using namespace machinetest;

namespace {

const QPoint kQuitCorner(15, 15);
const SlotSet kFirst = slotSetFromText(QStringLiteral("2,13"));
/// Plugged when the package's udev rule is there.
constexpr int kAfterInstallation = 28;
constexpr int kAfterBoot = 7;
constexpr int kInCopy = 16;
constexpr int kAfterKill = 21;
/// A copy takes some seconds, and can be hit.
constexpr quint32 kStickBytesPerSecond = 100 * 1024;

Condition logged(const QString& text, int times)
{
    return {Condition::Kind::Log, {}, text, times};
}

Scenario scenario()
{
    Scenario scenario = quickPods(64 * 1024, 512 * 1024);
    scenario.plugged = kFirst;
    scenario.stick.settings.bytes_per_second = kStickBytesPerSecond;
    return scenario;
}

} // namespace

bool Package::comesTrue(const Condition& condition)
{
    return comes([&] { return m_bench->holds(condition); });
}

/// Knowing its serial number, however late that memory's driver was.
bool Package::startsAgain()
{
    return comesTrue(logged(QStringLiteral("Version: "), ++m_starts)) &&
           m_bench->holds(logged(QStringLiteral("Serial number: 0004A3123456"), m_starts));
}

void Package::plug(int slot)
{
    m_bench->perform(verb::Plug{slotSetOf(slot), {}});
}

#define VERIFY_IN_MACHINE(command)                                                                 \
    do {                                                                                           \
        const QString failure = failureOf(m_site->shell(), QStringLiteral(command));               \
        QVERIFY2(failure.isEmpty(), qPrintable(failure));                                          \
    } while (false)

void Package::install()
{
    m_bench = benchOf(testedcomputer::computer(), MachineExtras{testedcomputer::packages()},
                      scenario(), m_site);
    m_bench->start();
    QVERIFY(startsAgain());
    VERIFY_IN_MACHINE("systemctl is-active corvane");
    VERIFY_IN_MACHINE("systemctl is-enabled corvane");
    VERIFY_IN_MACHINE("! systemctl is-active getty@tty1");
}

void Package::archive()
{
    QVERIFY(comesTrue({Condition::Kind::Erased, kFirst, {}, 0}));
    plug(kAfterInstallation);
    QVERIFY(comesTrue({Condition::Kind::GaugeFull, kFirst | slotSetOf(kAfterInstallation), {}, 0}));
    QVERIFY(comesTrue({Condition::Kind::Panel, {}, {}, 0}));
    m_bench->perform(verb::Screenshot{QStringLiteral("installed.png")});
    VERIFY_IN_MACHINE("find /opt/Corvane/datas -type f -exec sha256sum {} + >/packages/recordings");
    const QString device = UsbAddress(UsbAddress::portsOfSlot(kAfterInstallation), 0).portPath();
    const QString failure = failureOf(
        m_site->shell(), QStringLiteral("udevadm info --query=property /sys/bus/usb/devices/1-%1 | "
                                        "grep -x ID_MM_DEVICE_IGNORE=1")
                             .arg(device));
    QVERIFY2(failure.isEmpty(), qPrintable(failure));
}

/// The board's power is cut, and all that starts then starts by itself.
void Package::bootAnew()
{
    VERIFY_IN_MACHINE("sync");
    m_bench->perform(verb::KillStation{});
    m_bench->perform(verb::RestartStation{});
    QVERIFY(startsAgain());
    VERIFY_IN_MACHINE("systemctl --wait is-system-running");
    VERIFY_IN_MACHINE("! systemctl is-active getty@tty1");
    VERIFY_IN_MACHINE("cmp /opt/Corvane/version /usr/share/corvane/version");
    VERIFY_IN_MACHINE("sha256sum --check --quiet /packages/recordings");
    plug(kAfterBoot);
    QVERIFY(comesTrue({Condition::Kind::GaugeFull, slotSetOf(kAfterBoot), {}, 0}));
    QVERIFY(comesTrue({Condition::Kind::Panel, {}, {}, 0}));
}

/// Of another owner, who lets nobody else in, when the program has ended by touch and is started
/// again; that also heals what was broken of the folder.
void Package::replaceLauncher()
{
    VERIFY_IN_MACHINE("rm /opt/Corvane/version");
    VERIFY_IN_MACHINE("(cd /opt/CorvaneLauncher && echo old >CorvaneLauncher && "
                      "echo new >CorvaneLauncher_new && chmod 0700 . * && chown -R 1000:1000 .)");
    m_bench->perform(verb::Touch{kQuitCorner});
    QVERIFY(startsAgain());
    VERIFY_IN_MACHINE("grep -x new /opt/CorvaneLauncher/CorvaneLauncher");
    VERIFY_IN_MACHINE("[ ! -e /opt/CorvaneLauncher/CorvaneLauncher_new ]");
    VERIFY_IN_MACHINE("cmp /opt/Corvane/version /usr/share/corvane/version");
}

/// With the stick mounted, which must not be in the way of the next one's copy.
void Package::killInCopy()
{
    // Nothing is on the screen when the stick is looked at for the last time.
    QVERIFY(comesTrue({Condition::Kind::Panel, {}, {}, 2}));
    plug(kInCopy);
    VERIFY_IN_MACHINE("until grep -qs /media/usbkey /proc/$(pidof corvane)/mounts; do "
                      "sleep 0.1; done; pkill -KILL -x corvane");
    QVERIFY(startsAgain());
    plug(kAfterKill);
    QVERIFY(comesTrue({Condition::Kind::GaugeFull, slotSetOf(kAfterKill), {}, 0}));
    QVERIFY(comesTrue({Condition::Kind::Panel, {}, {}, 0}));
}

/// The disk is asked for by nobody but the station.
void Package::remount()
{
    VERIFY_IN_MACHINE("systemctl stop opt.mount");
    VERIFY_IN_MACHINE("! pidof corvane");
    VERIFY_IN_MACHINE("systemctl start corvane");
    QVERIFY(startsAgain());
    VERIFY_IN_MACHINE("sha256sum --check --quiet /packages/recordings");
}

/// To packages that differ in nothing but the version.
void Package::upgrade()
{
    VERIFY_IN_MACHINE("cd /packages && for old in corvane*.deb; do "
                      "dpkg-deb -R $old tree && "
                      "sed -i '/^Version:/s/ .*/ 9.9.9/' tree/DEBIAN/control && "
                      "{ [ ! -e tree/usr/share/corvane/version ] || "
                      "printf 9.9.9 >tree/usr/share/corvane/version; } && "
                      "dpkg-deb -Znone -b tree later_$old && rm -r tree || break; done");
    VERIFY_IN_MACHINE("dpkg --force-depends --install /packages/later_*.deb");
    QVERIFY(startsAgain());
    QVERIFY(m_bench->holds(logged(QStringLiteral("Version: 9.9.9"), 1)));
    VERIFY_IN_MACHINE("systemctl is-active corvane");
    VERIFY_IN_MACHINE("sha256sum --check --quiet /packages/recordings");
}

void Package::remove()
{
    VERIFY_IN_MACHINE("dpkg --remove corvane");
    VERIFY_IN_MACHINE("! pidof corvane");
    VERIFY_IN_MACHINE("sha256sum --check --quiet /packages/recordings");
    VERIFY_IN_MACHINE("dpkg --purge corvane corvane-bin");
    VERIFY_IN_MACHINE("sha256sum --check --quiet /packages/recordings");
}

void Package::judgeRun()
{
    m_site->shell().run(QStringLiteral("systemctl poweroff"));
    QVERIFY(comesTrue({Condition::Kind::Ended, {}, {}, 0}));
    Expectations expect;
    // As after a power cut: it is systemd that has the program's own.
    expect.exit_code = 128 + 9;
    // On the stick is what the last copy brought; all others must be in one of the archives.
    expect.archived = slotSetOf(kAfterKill);
    expect.erased = kFirst | slotSetOf(kAfterInstallation) | slotSetOf(kAfterBoot) |
                    slotSetOf(kInCopy) | slotSetOf(kAfterKill);
    expect.infos_contain = QStringList(QStringLiteral("Serial number: 0004A3123456"));
    QVERIFY(isGood(*m_bench, expect));
}

void Package::worksAndKeepsRecordings()
{
    for (const auto step : {&Package::install, &Package::archive, &Package::bootAnew,
                            &Package::replaceLauncher, &Package::killInCopy, &Package::remount,
                            &Package::upgrade, &Package::remove, &Package::judgeRun}) {
        (this->*step)();
        if (QTest::currentTestFailed())
            return;
    }
}

QTEST_GUILESS_MAIN(Package)
#include "package.moc"
