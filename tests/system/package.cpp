#include "bench/bench.h"
#include "bench/verdict.h"
#include "machine/machineshell.h"
#include "machine/machinesite.h"
#include "usb/usbaddress.h"

#include <QtTest>

#include <memory>
#include <optional>

/// The station as a board has it: installed from its packages, started by systemd. Leaves a picture
/// of its screen, installed.png, in the folder where it runs.
class Package : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void worksAndKeepsRecordings();

private:
    void install();
    void archive();
    void endByTouch();
    void upgrade();
    void remove();
    void judgeRun();

    bool comesTrue(const Condition& condition);
    QString failed(const QString& command);

    std::unique_ptr<Bench> m_bench;
    MachineSite* m_site = nullptr; ///< the bench's
};

namespace {

constexpr std::chrono::minutes kLimit{4};
const QPoint kQuitCorner(15, 15);
const SlotSet kFirst = slotSetFromText(QStringLiteral("2,13"));
/// Plugged when the package's udev rule is there.
constexpr int kLaterSlot = 28;

SlotSet allSlots()
{
    SlotSet all = kFirst;
    return all.set(kLaterSlot);
}

Condition logged(const QString& text, int times)
{
    return {Condition::Kind::Log, {}, text, times};
}

Scenario scenario()
{
    Scenario scenario;
    PodPlan plan;
    plan.size = {64 * 1024, 512 * 1024};
    plan.bytes_per_second = 0;
    plan.polls_until_charged = 0;
    scenario.plans.fill(plan);
    scenario.plugged = kFirst;
    return scenario;
}

} // namespace

bool Package::comesTrue(const Condition& condition)
{
    return QTest::qWaitFor([&] { return m_bench->holds(condition); },
                           int(std::chrono::milliseconds(kLimit).count()));
}

/// What the machine's shell said to it when it failed; empty when all was well.
QString Package::failed(const QString& command)
{
    const auto result = std::make_shared<std::optional<MachineShell::Result>>();
    m_site->shell().run(command, [result](const MachineShell::Result& what) { *result = what; });
    const bool answered = QTest::qWaitFor([&] { return result->has_value(); },
                                          int(std::chrono::milliseconds(kLimit).count()));
    if (answered && (*result)->exit_code == 0)
        return {};
    const QStringList said = answered ? (*result)->lines : QStringList(QStringLiteral("no answer"));
    return command + QStringLiteral(": ") + said.join(QLatin1Char('\n'));
}

#define VERIFY_IN_MACHINE(command)                                                                 \
    do {                                                                                           \
        const QString failure = failed(QStringLiteral(command));                                   \
        QVERIFY2(failure.isEmpty(), qPrintable(failure));                                          \
    } while (false)

void Package::install()
{
    BenchSettings settings;
    settings.make_site = [this](const auto& of_bench, const auto& scenario, const auto& folder) {
        auto site = std::make_unique<MachineSite>(of_bench, scenario, folder,
                                                  QStringLiteral(CORVANE_PACKAGES));
        m_site = site.get();
        return site;
    };
    m_bench = std::make_unique<Bench>(settings, scenario());
    m_bench->start();
    QVERIFY(comesTrue(logged(QStringLiteral("Version: "), 1)));
    VERIFY_IN_MACHINE("systemctl is-active corvane");
    VERIFY_IN_MACHINE("systemctl is-enabled corvane");
    VERIFY_IN_MACHINE("! systemctl is-active getty@tty1");
}

void Package::archive()
{
    QVERIFY(comesTrue({Condition::Kind::Erased, kFirst, {}, 0}));
    SlotSet later;
    later.set(kLaterSlot);
    m_bench->perform(verb::Plug{later, {}});
    QVERIFY(comesTrue({Condition::Kind::GaugeFull, allSlots(), {}, 0}));
    QVERIFY(comesTrue({Condition::Kind::Panel, {}, {}, 0}));
    m_bench->perform(verb::Screenshot{QStringLiteral("installed.png")});
    VERIFY_IN_MACHINE("find /opt/Corvane/datas -type f -exec sha256sum {} + >/run/recordings");
    const QString device = UsbAddress(UsbAddress::portsOfSlot(kLaterSlot), 0).portPath();
    const QString failure =
        failed(QStringLiteral("udevadm info --query=property /sys/bus/usb/devices/1-%1 | "
                              "grep -x ID_MM_DEVICE_IGNORE=1")
                   .arg(device));
    QVERIFY2(failure.isEmpty(), qPrintable(failure));
}

/// Systemd starts it again.
void Package::endByTouch()
{
    m_bench->perform(verb::Touch{kQuitCorner});
    QVERIFY(comesTrue(logged(QStringLiteral("Version: "), 2)));
}

/// To packages that differ in nothing but the version.
void Package::upgrade()
{
    VERIFY_IN_MACHINE("cd /run && for old in corvane*.deb; do "
                      "dpkg-deb -R $old tree && "
                      "sed -i '/^Version:/s/ .*/ 9.9.9/' tree/DEBIAN/control && "
                      "{ [ ! -e tree/usr/share/corvane/version ] || "
                      "printf 9.9.9 >tree/usr/share/corvane/version; } && "
                      "dpkg-deb -Znone -b tree later_$old && rm -r tree || break; done");
    VERIFY_IN_MACHINE("dpkg --force-depends --install /run/later_*.deb");
    QVERIFY(comesTrue(logged(QStringLiteral("Version: 9.9.9"), 1)));
    VERIFY_IN_MACHINE("systemctl is-active corvane");
    VERIFY_IN_MACHINE("sha256sum --check --quiet /run/recordings");
}

void Package::remove()
{
    VERIFY_IN_MACHINE("dpkg --remove corvane");
    VERIFY_IN_MACHINE("! pidof corvane");
    VERIFY_IN_MACHINE("sha256sum --check --quiet /run/recordings");
    VERIFY_IN_MACHINE("dpkg --purge corvane corvane-bin");
    VERIFY_IN_MACHINE("sha256sum --check --quiet /run/recordings");
}

void Package::judgeRun()
{
    m_site->shell().run(QStringLiteral("switch_off"));
    QVERIFY(comesTrue({Condition::Kind::Ended, {}, {}, 0}));
    Expectations expect;
    // As after a power cut: it is systemd that has the program's own.
    expect.exit_code = 128 + 9;
    expect.archived = allSlots();
    expect.erased = allSlots();
    expect.infos_contain = QStringList(QStringLiteral("Serial number: 0004A3123456"));
    const Verdict verdict = judge(*m_bench, expect);
    if (!verdict.good())
        QTextStream(stderr) << summary(*m_bench, verdict); // a test's own message would be cut
    QVERIFY(verdict.good());
}

void Package::worksAndKeepsRecordings()
{
    for (const auto step : {&Package::install, &Package::archive, &Package::endByTouch,
                            &Package::upgrade, &Package::remove, &Package::judgeRun}) {
        (this->*step)();
        if (QTest::currentTestFailed())
            return;
    }
}

QTEST_GUILESS_MAIN(Package)
#include "package.moc"
