#include "machine/machinestation.h"

#include "bus/usbaddress.h"
#include "common/badinput.h"
#include "machine/machinereport.h"
#include "machine/virtualmachine.h"
#include "system/stationpaths.h"

namespace {

/// As of a process that was killed, which is what a station is whose power is cut.
constexpr int kPowerCut = 128 + 9;

/// Ends when the kernel's own driver has the pod.
QString waitForPod(int slot)
{
    const QString ports = UsbAddress(UsbAddress::portsOfSlot(slot), 0).portPath();
    return QStringLiteral("await /sys/bus/usb/drivers/cdc_acm/1-%1:1.0").arg(ports);
}

} // namespace

MachineStation::MachineStation(VirtualMachine& machine, MachineReport& report,
                               std::function<void()> collect, const QString& log_path, bool echo)
    : Station(log_path, echo)
    , m_machine(machine)
    , m_report(report)
    , m_collect(std::move(collect))
{
    connect(&machine, &VirtualMachine::output, this, &MachineStation::noteOutput);
    connect(&machine, &VirtualMachine::troubled, this, &MachineStation::noteTrouble);
    connect(&machine, &VirtualMachine::ended, this, &MachineStation::endRun);
    connect(&machine.shell(), &MachineShell::ready, this, &MachineStation::startProgram);
    connect(&machine.shell(), &MachineShell::stationEnded, this, [this](int exit_code) {
        m_program_exit_code = exit_code;
        m_machine.shell().run(QStringLiteral("switch_off"));
    });
}

void MachineStation::start()
{
    noteStart();
    m_program_started = false;
    m_killed = false;
    m_program_exit_code.reset();
    m_machine.start();
}

void MachineStation::kill()
{
    m_killed = true;
    m_machine.cutPower();
}

void MachineStation::terminate()
{
    m_machine.shell().run(QStringLiteral("kill $(pidof corvane)"));
}

void MachineStation::setClock(const QDateTime& time)
{
    tell(QStringLiteral("date -u -s @%1").arg(time.toSecsSinceEpoch()));
}

void MachineStation::leaveRoom(qint64 bytes)
{
    tell(QStringLiteral("leave_room %1").arg(bytes));
}

bool MachineStation::running() const
{
    return m_machine.running();
}

std::optional<int> MachineStation::podThreads() const
{
    const std::optional<int> all = m_report.stationThreads();
    return all ? std::optional(podThreadsOf(*all)) : std::nullopt;
}

std::optional<bool> MachineStation::stickMounted() const
{
    return m_report.mounted(stationpaths::kUsbKey);
}

qint64 MachineStation::bytesOf(const QString& name) const
{
    return m_report.bytesOf(stationpaths::kStation + QLatin1Char('/') + name).value_or(-1);
}

void MachineStation::startProgram()
{
    // An installed station looks after itself.
    if (!m_machine.installsStation())
        m_machine.shell().run(QStringLiteral("await /dev/i2c-3"));
    for (int slot = 0; slot < PodBus::kSlotCount; ++slot)
        if (m_machine.pods().plugged(slot))
            m_machine.shell().run(waitForPod(slot));
    m_machine.shell().run(m_machine.installsStation() ? QStringLiteral("install_station")
                                                      : QStringLiteral("start_station"),
                          [this](const MachineShell::Result&) { m_program_started = true; });
}

void MachineStation::tell(const QString& command)
{
    m_machine.shell().run(command, [this](const MachineShell::Result& result) {
        if (result.exit_code != 0)
            noteTrouble(result.lines.join(QLatin1Char(' ')));
    });
}

/// As a line of the log that no verdict passes over.
void MachineStation::noteTrouble(const QString& what)
{
    noteOutput("[CRITICAL]: Bench: " + what.toUtf8() + '\n');
}

/// Of a machine that went off by itself or before the program ran: nothing else says why.
void MachineStation::tellHowFar()
{
    constexpr int kConsoleLines = 15;
    QString command = QString::fromUtf8(m_machine.shell().underWay());
    if (command.isEmpty())
        command = m_program_started ? QStringLiteral("nothing") : QStringLiteral("come up");
    QString text =
        QStringLiteral("Bench: the machine went off when it was to '%1'; its console ends with\n")
            .arg(command);
    for (const QString& line : m_machine.lastConsoleLines(kConsoleLines))
        text += QStringLiteral("  %1\n").arg(line);
    noteOutput(text.toUtf8());
}

void MachineStation::endRun()
{
    m_report.forget();
    const bool as_it_should = m_program_exit_code || (m_killed && m_program_started);
    if (!as_it_should)
        tellHowFar();
    try {
        m_collect();
    } catch (const BadInput& bad) {
        noteTrouble(bad.text());
    }
    noteEnd(m_program_exit_code.value_or(kPowerCut));
}
