#include "bench/bench.h"

#include "archives/archivehole.h"
#include "bench/statustext.h"
#include "common/badinput.h"
#include "common/panelcode.h"
#include "scenario/verbparser.h"

#include <QFileInfo>

#include <algorithm>

namespace {

// In the middle of the screen's hidden quit area.
constexpr QPoint kQuitCorner(15, 15);
const QString kPackage = QStringLiteral("app.zip");

/// Makes the firmware and puts its package onto the stick.
std::optional<Firmware> bringFirmware(const std::optional<FirmwarePlan>& plan, quint64 seed,
                                      const BenchStick& stick)
{
    if (!plan)
        return std::nullopt;
    Firmware firmware = makeFirmware(*plan, seed);
    writePackage(firmware, stick.path(kPackage));
    return firmware;
}

} // namespace

Bench::Bench(const BenchSettings& settings, const Scenario& scenario)
    : m_scenario(scenario)
    , m_folder(settings.kept_folder, scenario.disk_bytes)
    , m_earlier(makeEarlierArchives(m_folder.archives(), scenario.earlier, settings.seed))
    , m_site(settings.make_site(settings, scenario, m_folder))
    , m_promise(m_folder, stick(), [this] { return m_rack.erasedRecordings(); })
    , m_firmware(bringFirmware(scenario.firmware, settings.seed, stick()))
    , m_stick_before(stick().listing(kStickLines))
    , m_rack(m_site->places(), settings.seed, m_firmware)
{
    m_quit_patience.setSingleShot(true);
    m_quit_patience.setInterval(m_site->quitPatience());
    connect(&m_quit_patience, &QTimer::timeout, &m_site->station(), &Station::kill);
    for (int slot = 0; slot < kSlotCount; ++slot)
        m_rack.setPlan(slot, scenario.plans.at(slot));
    connect(&m_site->station(), &Station::logged, this, &Bench::noteLog);
    connect(&m_site->places(), &PodBus::happened, this, &Bench::notePodEvent);
    connect(&m_site->station(), &Station::ended, this, &Bench::noteEnd);
    connect(&m_screen, &ScreenClient::changed, this, &Bench::readScreen);
}

void Bench::start()
{
    m_site->stick().setInserted(m_scenario.stick.inserted);
    m_rack.plug(m_scenario.plugged);
    m_clock.start();
    m_service.plugged(m_scenario.plugged, 0);
    startStation();
}

QString Bench::perform(const Verb& verb)
{
    QString answer = std::visit([this](const auto& one) { return act(one); }, verb);
    emit changed();
    return answer;
}

std::optional<PodReport> Bench::lastReport(int slot) const
{
    return m_rack.lastPod(slot) ? std::optional(m_rack.report(slot)) : std::nullopt;
}

QString Bench::gaugeState(int slot) const
{
    return picture().rect().contains(GaugeReader::areaOf(slot)) ? m_gauges.state(picture(), slot)
                                                                : QString();
}

std::optional<qint64> Bench::stickBytes(const QString& name) const
{
    return stick().bytesOf(name);
}

std::optional<qint64> Bench::stationBytes(const QString& name) const
{
    return station().bytesOf(name);
}

QString Bench::act(const verb::Plug& plug)
{
    for (const int slot : slotsIn(plug.slot_set))
        if (plug.plan)
            m_rack.setPlan(slot, *plug.plan);
    m_rack.plug(plug.slot_set);
    m_service.plugged(plug.slot_set, elapsedMs());
    return {};
}

QString Bench::act(const verb::Unplug& unplug)
{
    m_rack.unplug(unplug.slot_set);
    m_service.left(unplug.slot_set, elapsedMs());
    return {};
}

QString Bench::act(const verb::SetFault& fault)
{
    m_rack.setFault(fault.slot_set, fault.fault);
    return {};
}

QString Bench::act(const verb::Stick& stick)
{
    if (stick.inserted == m_site->stick().inserted())
        throw BadInput(stick.inserted ? QStringLiteral("the stick is in already")
                                      : QStringLiteral("the stick is out already"));
    if (stick.other)
        replaceStick(*stick.other);
    m_site->stick().setInserted(stick.inserted);
    if (stick.inserted)
        noteEraseCommand();
    else if (m_site->foldersAreCurrent())
        m_promise.noteDelivered();
    return {};
}

QString Bench::act(const verb::PutOnStick& put)
{
    m_site->stick().put(put.file);
    return QStringLiteral("put on the stick: %1").arg(QFileInfo(put.file).fileName());
}

void Bench::replaceStick(const StickPlan& plan)
{
    if (plan.package && !m_firmware)
        throw BadInput(QStringLiteral("there is no firmware for a package here"));
    m_site->stick().replace(plan);
    if (plan.package)
        writePackage(*m_firmware, stick().path(kPackage));
}

QString Bench::act(const verb::GrowArchive& grow)
{
    const QStringList archives = m_folder.localArchives();
    if (archives.isEmpty() || !m_site->foldersAreCurrent())
        throw BadInput(QStringLiteral("there is no archive to grow here"));
    putHoleInFront(archives.last(), grow.hole_bytes);
    return {};
}

QString Bench::act(const verb::Touch& touch)
{
    if (!m_screen.ready())
        throw BadInput(QStringLiteral("there is no screen to touch here"));
    m_screen.touch(touch.at);
    return {};
}

QString Bench::act(const verb::Screenshot& screenshot)
{
    const QImage photograph = photographOf(screenshot);
    if (photograph.isNull())
        throw BadInput(QStringLiteral("there is no screen to photograph here"));
    if (!photograph.save(screenshot.file, "PNG"))
        throw BadInput(QStringLiteral("cannot write %1").arg(screenshot.file));
    return QStringLiteral("saved %1").arg(screenshot.file);
}

/// Null where nothing is to be seen.
QImage Bench::photographOf(const verb::Screenshot& screenshot) const
{
    if (screenshot.gauge)
        return GaugeReader::enlarged(picture(), *screenshot.gauge, screenshot.times);
    return m_camera ? m_camera() : picture();
}

QString Bench::act(const verb::Quit& /*quit*/)
{
    m_quitting = true;
    m_quit_patience.start();
    touchQuitCorner();
    return {};
}

QString Bench::act(const verb::StopStation& /*stop*/)
{
    m_site->station().terminate();
    return {};
}

QString Bench::act(const verb::KillStation& /*kill*/)
{
    m_killed = true;
    m_site->station().kill();
    return {};
}

QString Bench::act(const verb::RestartStation& /*restart*/)
{
    if (station().running())
        throw BadInput(QStringLiteral("the station is running; kill it first"));
    if (const int code = station().exitCode().value_or(-1); code != 0 && !m_killed)
        m_bad_ends += QStringLiteral("a run of the station before the last ended with exit code %1")
                          .arg(code);
    m_quitting = false;
    m_quit_patience.stop();
    startStation();
    return {};
}

QString Bench::act(const verb::MeasureStation& /*measure*/)
{
    if (const auto holdings = station().holdings())
        m_measurements.push_back(*holdings);
    return {};
}

QString Bench::act(const verb::SetClock& clock)
{
    m_site->station().setClock(clock.time);
    return {};
}

QString Bench::act(const verb::LeaveRoom& room)
{
    m_site->station().leaveRoom(room.bytes);
    return {};
}

QString Bench::act(const verb::Status& /*status*/)
{
    return statusText(m_rack, stick(), m_panel_code);
}

QString Bench::act(const verb::Help& /*help*/)
{
    return verbHelp();
}

void Bench::startStation()
{
    m_panel_code.reset();
    m_full_gauges.reset();
    m_empty_gauges.reset();
    m_promise.stationStarted();
    m_killed = false;
    noteEraseCommand();
    m_site->station().start();
    m_screen.start(m_site->screenSocket());
}

void Bench::noteLog()
{
    // Its first line begins its day: a machine's start is not the station's.
    m_service.stationStarted(elapsedMs());
    emit changed();
}

void Bench::notePodEvent(int slot, PodEvent event)
{
    const PodReport pod = m_rack.report(slot);
    if (event == PodEvent::ReadoutBegun && m_times.first_readout_ms < 0)
        m_times.first_readout_ms = elapsedMs();
    if (event == PodEvent::ReadoutCompleted)
        m_promise.readoutCompleted();
    if (event == PodEvent::Erased || event == PodEvent::Vanished)
        m_service.left(slotSetOf(slot), elapsedMs());
    if (pod.mode == PodMode::Bootloader && m_times.first_bootloader_ms < 0)
        m_times.first_bootloader_ms = elapsedMs();
    if (event == PodEvent::Restarted && isUpdated(pod))
        m_times.last_update_ms = elapsedMs();
    emit changed();
}

void Bench::noteEnd()
{
    // By now the folders are current everywhere, and what was mounted is no more.
    if (m_panel_code == kPanelCopied)
        m_promise.endedAsCopied();
    m_promise.noteDelivered();
    m_service.stationEnded(elapsedMs());
    m_screen.stop();
    emit changed();
}

/// A station that finds the command at its start obeys it before it reads out a pod.
void Bench::noteEraseCommand()
{
    const QFileInfo command(stick().path(QStringLiteral("cmd_erase_datas.txt")));
    if (!stick().inserted() || !command.isFile() || command.isSymLink())
        return;
    const auto erased = m_rack.erasedRecordings();
    m_promise.giveUp(erased);
    for (const KnownRecording& recording : erased)
        m_given_up += recording.sha256;
}

std::vector<KnownRecording> Bench::recordingsToBeFound() const
{
    std::vector<KnownRecording> list = m_rack.erasedRecordings();
    list.erase(std::remove_if(list.begin(), list.end(),
                              [this](const KnownRecording& recording) {
                                  return m_given_up.contains(recording.sha256);
                              }),
               list.end());
    return list;
}

void Bench::readScreen()
{
    const std::optional<int> before = m_panel_code;
    m_panel_code = m_reader.panelCode(m_screen.picture());
    m_full_gauges = ScreenReader::fullGauges(m_screen.picture());
    m_empty_gauges = ScreenReader::emptyGauges(m_screen.picture());
    if (m_panel_code)
        m_panel_shown += *m_panel_code;
    const bool copied = m_panel_code == kPanelCopied;
    if (copied && before != m_panel_code)
        m_times.last_copy_ms = elapsedMs();
    m_promise.pictureSeen(copied && m_site->foldersAreCurrent(), stickMounted().value_or(false));
    if (m_quitting)
        touchQuitCorner();
    emit changed();
}

/// Again with every new picture: the first may come before anything can be touched.
void Bench::touchQuitCorner()
{
    if (m_screen.ready())
        m_screen.touch(kQuitCorner);
}
