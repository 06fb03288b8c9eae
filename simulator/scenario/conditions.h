#pragma once

#include "pod/podreport.h"
#include "scenario/jsonplace.h"
#include "scenario/scenario.h"

/// How things stand at a bench, for those who wait for something. Asked on the bench's thread.
class BenchView
{
public:
    BenchView() = default;
    Q_DISABLE_COPY_MOVE(BenchView)
    virtual ~BenchView() = default;

    /// Since the station was first started.
    virtual qint64 elapsedMs() const = 0;
    virtual SlotSet plugged() const = 0;
    /// Of the last pod there; std::nullopt before the first.
    virtual std::optional<PodReport> lastReport(int slot) const = 0;
    // As the screen showed them last; none and std::nullopt while it shows nothing of them.
    virtual SlotSet fullGauges() const = 0;
    virtual SlotSet emptyGauges() const = 0;
    /// As GaugeReader says it; empty while nothing is shown.
    virtual QString gaugeState(int slot) const = 0;
    virtual std::optional<int> panelCode() const = 0;
    virtual bool stationRuns() const = 0;
    /// Lines with this text, of all runs of the station.
    virtual int logged(const QString& text) const = 0;
    /// A line of the station's present run has this text.
    virtual bool loggedInRun(const QString& text) const = 0;
    // Not always known at once: std::nullopt, or false, while they are not.
    virtual std::optional<int> podThreads() const = 0;
    virtual std::optional<bool> stickMounted() const = 0;
    virtual std::optional<qint64> stickBytes(const QString& name) const = 0;
    virtual bool stickLacks(const QString& name) const = 0;
    virtual std::optional<qint64> stationBytes(const QString& name) const = 0;
};

bool holds(const Condition& condition, const BenchView& bench);

/// For people: its name and what it asks for, as in `log "Version:"` or `erased in slots 0-5`;
/// in_words is inSlots or atPlaces.
QString textOf(const Condition& condition, QString (*in_words)(const SlotSet& slot_set));

/// Reads what a step waits `after`. Throws BadInput.
std::vector<Condition> readConditions(const JsonPlace& after);
