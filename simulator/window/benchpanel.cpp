#include "window/benchpanel.h"

#include "common/badinput.h"
#include "common/companions.h"
#include "common/panelcode.h"
#include "window/scenariolist.h"

#include <QFile>
#include <QTemporaryDir>

namespace {

// A person's eye needs no more, and thirty pods at work tell of themselves all the time.
constexpr std::chrono::milliseconds kBetweenLooks{200};
constexpr int kLogLines = 8;
constexpr int kStickFiles = 7;

QStringList faultNames(bool of_bootloader)
{
    QStringList names;
    for (int fault = 0; fault <= int(PodFault::FirmwareAbsent); ++fault)
        if (isOfBootloader(PodFault(fault)) == of_bootloader)
            names += podFaultName(PodFault(fault));
    return names;
}

/// Sets it and tells of it, if it is another one.
template <typename Value>
bool renew(Value& before, const Value& now)
{
    const bool differs = before != now;
    before = now;
    return differs;
}

} // namespace

BenchPanel::BenchPanel(Bench& bench, const ScenarioRunner& runner, QString scenario, PodPlan usual)
    : m_bench(bench)
    , m_runner(runner)
    , m_scenario(std::move(scenario))
    , m_usual(std::move(usual))
    , m_places(bench)
{
    m_refresh.setSingleShot(true);
    m_refresh.setInterval(kBetweenLooks);
    connect(&m_refresh, &QTimer::timeout, this, &BenchPanel::refresh);
    connect(&bench, &Bench::changed, this, &BenchPanel::look);
    refresh();
}

QStringList BenchPanel::podFaults()
{
    return faultNames(false);
}

QStringList BenchPanel::bootloaderFaults()
{
    return faultNames(true);
}

QVariantList BenchPanel::scenarios()
{
    return scenarioList(companions::scenarios());
}

QString BenchPanel::panelText() const
{
    const auto code = m_bench.stationRuns() ? m_bench.panelCode() : std::nullopt;
    for (const PanelCode& panel : kPanelCodes)
        if (panel.code == code)
            return QLatin1String(panel.meaning);
    return {};
}

void BenchPanel::plugOrPull(int slot)
{
    if (m_bench.plugged().test(std::size_t(slot)))
        perform(verb::Unplug{slotSetOf(slot)});
    else
        perform(verb::Plug{slotSetOf(slot), {}});
}

void BenchPanel::plugAs(int slot, const QString& size, int bytes_per_second, const QString& fault)
{
    attempt([&] {
        PodPlan plan = m_usual;
        plan.size = sizeRangeFromText(size);
        plan.bytes_per_second = quint32(bytes_per_second);
        plan.fault = faultFromText(fault);
        plan.unplug_at_byte = plan.size.min_bytes / 2;
        return m_bench.perform(verb::Plug{slotSetOf(slot), plan});
    });
}

void BenchPanel::plugAll()
{
    perform(verb::Plug{~m_bench.plugged(), {}});
}

void BenchPanel::pullAll()
{
    perform(verb::Unplug{m_bench.plugged()});
}

void BenchPanel::setStick(bool inserted)
{
    perform(verb::Stick{inserted, {}});
}

void BenchPanel::putOnStick(const QString& file)
{
    perform(verb::PutOnStick{file});
}

void BenchPanel::putCommandOnStick(const QString& name)
{
    const QTemporaryDir folder;
    QFile command(folder.filePath(name));
    if (command.open(QIODevice::WriteOnly))
        putOnStick(command.fileName());
}

void BenchPanel::cutPower()
{
    perform(verb::KillStation{});
}

void BenchPanel::stopStation()
{
    perform(verb::StopStation{});
}

void BenchPanel::startStation()
{
    perform(verb::RestartStation{});
}

void BenchPanel::touch(int x, int y)
{
    perform(verb::Touch{{x, y}});
}

void BenchPanel::end()
{
    perform(verb::Quit{});
}

void BenchPanel::play(const QString& file)
{
    m_chosen = file;
    end();
}

/// The screen at once, the rest soon.
void BenchPanel::look()
{
    if (renew(m_picture_key, picture().cacheKey()))
        emit pictureChanged();
    if (!m_refresh.isActive())
        m_refresh.start();
}

void BenchPanel::refresh()
{
    if (m_places.refresh())
        m_refresh.start();
    if (renew(m_power, powerText()))
        emit powerChanged();
    if (renew(m_progress, m_runner.progress()))
        emit progressChanged();
    const bool moved = renew(m_stick_in, m_bench.stick().inserted());
    if (renew(m_stick_files, m_bench.stick().listing(kStickFiles)) || moved)
        emit stickChanged();
    if (renew(m_log_lines, m_bench.station().log().lastLines(kLogLines)))
        emit logChanged();
}

void BenchPanel::perform(const Verb& verb)
{
    attempt([&] { return m_bench.perform(verb); });
}

void BenchPanel::attempt(const std::function<QString()>& work)
{
    try {
        say(work());
    } catch (const BadInput& bad) {
        say(bad.text());
    }
}

void BenchPanel::say(const QString& message)
{
    if (renew(m_message, message))
        emit messageChanged();
}

QString BenchPanel::powerText() const
{
    if (m_bench.station().running())
        return QStringLiteral("on");
    const auto code = m_bench.station().exitCode();
    return code ? QStringLiteral("off, ended with code %1").arg(*code) : QStringLiteral("off");
}
