#pragma once

#include "bench/copypromise.h"
#include "bench/podrack.h"
#include "bench/servicetimes.h"
#include "scenario/conditions.h"
#include "scenario/scenario.h"
#include "screen/gaugereader.h"
#include "screen/screenclient.h"
#include "screen/screenreader.h"
#include "site/benchfolder.h"
#include "site/benchsettings.h"
#include "site/site.h"

#include <QElapsedTimer>
#include <QObject>
#include <QSet>
#include <QTimer>

#include <functional>
#include <memory>

/// So many lines are told of what is on the stick.
constexpr int kStickLines = 20;

/// Moments of a run, in milliseconds since the station was first started; -1 before.
struct BenchTimes
{
    qint64 first_readout_ms = -1;
    qint64 last_copy_ms = -1;        ///< the panel began to say that the archive is on the stick
    qint64 first_bootloader_ms = -1; ///< the first pod was there
    qint64 last_update_ms = -1;      ///< the last pod came back from it
};

/// The whole bench: pods, stick, screen and the station between them. Lives on the main thread,
/// owned by main; everything it makes ends with it. Throws BadInput when it cannot be set up or is
/// told to do what cannot be done; the station's failures are for the expectations to find.
class Bench : public QObject, public BenchView
{
    Q_OBJECT

public:
    Bench(const BenchSettings& settings, const Scenario& scenario);

    /// Plugs what the scenario plugs and starts the station.
    void start();
    /// Does it; the answer is for a person to read, mostly empty.
    QString perform(const Verb& verb);
    bool holds(const Condition& condition) const { return ::holds(condition, *this); }

    qint64 elapsedMs() const override { return m_clock.isValid() ? m_clock.elapsed() : 0; }
    SlotSet plugged() const override { return m_rack.plugged(); }
    std::optional<PodReport> lastReport(int slot) const override;
    SlotSet fullGauges() const override { return m_full_gauges; }
    SlotSet emptyGauges() const override { return m_empty_gauges; }
    QString gaugeState(int slot) const override;
    std::optional<int> panelCode() const override { return m_panel_code; }
    bool stationRuns() const override { return station().running(); }
    int logged(const QString& text) const override { return station().log().count(text); }
    bool loggedInRun(const QString& text) const override { return station().log().runHolds(text); }
    std::optional<int> podThreads() const override { return station().podThreads(); }
    std::optional<bool> stickMounted() const override { return station().stickMounted(); }
    std::optional<qint64> stickBytes(const QString& name) const override;
    bool stickLacks(const QString& name) const override { return stick().lacks(name); }
    std::optional<qint64> stationBytes(const QString& name) const override;

    bool quitAsked() const { return m_quitting; }
    const BenchFolder& folder() const { return m_folder; }
    const BenchStick& stick() const { return m_site->stick(); }
    /// What was on the stick before the station started, a line each.
    const QStringList& stickBefore() const { return m_stick_before; }
    /// The station's archives of earlier days.
    const std::vector<KnownArchive>& earlierArchives() const { return m_earlier; }
    /// That the stick's package brings, if it has one.
    const std::optional<Firmware>& firmware() const { return m_firmware; }
    const PodRack& rack() const { return m_rack; }
    /// What the station's screen shows; null while nothing is to be seen.
    const QImage& picture() const { return m_screen.picture(); }
    /// What a screenshot is of, instead of the station's screen alone.
    void setCamera(std::function<QImage()> camera) { m_camera = std::move(camera); }
    const Station& station() const { return m_site->station(); }
    QString screenSocket() const { return m_site->screenSocket(); }
    /// Codes whose pictures were ever seen.
    const QSet<int>& panelShown() const { return m_panel_shown; }
    const CopyPromise& copyPromise() const { return m_promise; }
    const ServiceTimes& serviceTimes() const { return m_service; }
    /// What the station's process held whenever it was measured.
    const std::vector<Holdings>& measurements() const { return m_measurements; }
    /// Every recording that was erased from its pod, but for those that a command on a stick
    /// allowed the station to erase since.
    std::vector<KnownRecording> recordingsToBeFound() const;
    /// How runs before the last one ended, where they were neither killed nor right.
    const QStringList& badEnds() const { return m_bad_ends; }
    const BenchTimes& times() const { return m_times; }

signals:
    /// Something that a condition may ask about is different now.
    void changed();

private:
    QString act(const verb::Plug& plug);
    QString act(const verb::Unplug& unplug);
    QString act(const verb::SetFault& fault);
    QString act(const verb::Stick& stick);
    QString act(const verb::PutOnStick& put);
    QString act(const verb::GrowArchive& grow);
    QString act(const verb::Touch& touch);
    QString act(const verb::Screenshot& screenshot);
    QString act(const verb::Quit& quit);
    QString act(const verb::StopStation& stop);
    QString act(const verb::KillStation& kill);
    QString act(const verb::RestartStation& restart);
    QString act(const verb::MeasureStation& measure);
    QString act(const verb::SetClock& clock);
    QString act(const verb::LeaveRoom& room);
    QString act(const verb::Status& status);
    QString act(const verb::Help& help);

    QImage photographOf(const verb::Screenshot& screenshot) const;
    void replaceStick(const StickPlan& plan);
    void startStation();
    void noteLog();
    void notePodEvent(int slot, PodEvent event);
    void noteEnd();
    void noteEraseCommand();
    void readScreen();
    void touchQuitCorner();

    Scenario m_scenario;
    BenchFolder m_folder;
    std::vector<KnownArchive> m_earlier;
    std::unique_ptr<Site> m_site;
    CopyPromise m_promise;
    std::optional<Firmware> m_firmware;
    QStringList m_stick_before;
    PodRack m_rack;
    ServiceTimes m_service;
    std::vector<Holdings> m_measurements;
    QSet<QByteArray> m_given_up; ///< digests of what the station was allowed to erase
    ScreenClient m_screen;
    std::function<QImage()> m_camera;
    ScreenReader m_reader;
    GaugeReader m_gauges;
    std::optional<int> m_panel_code;
    QSet<int> m_panel_shown;
    SlotSet m_full_gauges;
    SlotSet m_empty_gauges;
    QElapsedTimer m_clock;
    BenchTimes m_times;
    QStringList m_bad_ends;
    bool m_killed = false;
    bool m_quitting = false;
    QTimer m_quit_patience;
};
