#include "scenario/conditions.h"

#include "common/panelcode.h"

#include <QDir>
#include <QRegularExpression>

#include <algorithm>
#include <functional>
#include <limits>

namespace {

using Kind = Condition::Kind;
using Conditions = std::vector<Condition>;

Conditions slotsOf(Kind kind, const JsonPlace& value)
{
    return {{kind, value.slotSet(), {}, 0}};
}

/// {"STATE": slots}, one condition a state.
Conditions gaugesOf(Kind kind, const JsonPlace& states)
{
    static const QRegularExpression known(QStringLiteral(
        "^(no pod|waits|((blue|salmon|green) )?(begun|full|charging|failed)(, unchecked)?)$"));
    if (states.memberNames().isEmpty())
        states.refuse(QStringLiteral("a state and its slots are needed here"));
    Conditions conditions;
    for (const QString& state : states.memberNames()) {
        const JsonPlace slot_set = states.member(state);
        if (!known.match(state).hasMatch())
            slot_set.refuse(QStringLiteral("no gauge is ever shown so"));
        conditions.push_back({kind, slot_set.slotSet(), state, 0});
    }
    return conditions;
}

Conditions panelCodeOf(Kind kind, const JsonPlace& value)
{
    return {{kind, {}, {}, value.number(kPanelLeast, kPanelMost)}};
}

Conditions podCountOf(Kind kind, const JsonPlace& value)
{
    return {{kind, {}, {}, value.number(0, kSlotCount)}};
}

Conditions textsOf(Kind kind, const JsonPlace& value)
{
    Conditions conditions;
    for (const QString& text : value.oneOrMoreTexts())
        conditions.push_back({kind, {}, text, 1});
    return conditions;
}

Conditions flagOf(Kind kind, const JsonPlace& value)
{
    return {{kind, {}, {}, value.flag() ? 1 : 0}};
}

Conditions trueOf(Kind kind, const JsonPlace& value)
{
    value.needTrue();
    return {{kind, {}, {}, 0}};
}

/// {"FILE": least bytes}, one condition a file.
Conditions bytesOf(Kind kind, const JsonPlace& files)
{
    if (files.memberNames().isEmpty())
        files.refuse(QStringLiteral("a file and its least bytes are needed here"));
    Conditions conditions;
    for (const QString& name : files.memberNames()) {
        const JsonPlace least = files.member(name);
        if (QDir::isAbsolutePath(name) || name.contains(QLatin1String("..")))
            least.refuse(QStringLiteral("a name below the folder is needed here"));
        conditions.push_back({kind, {}, name, least.number(0, std::numeric_limits<int>::max())});
    }
    return conditions;
}

/// How conditions ask for something: their reader, and the same in words but for the slots.
struct Form
{
    Conditions (*read)(Kind kind, const JsonPlace& value);
    QString (*text)(const Condition& condition);
};

using C = const Condition&;
using B = const BenchView&;

QString numberText(C c)
{
    return QString::number(c.number);
}

QString quoted(C c)
{
    return QStringLiteral("\"%1\"").arg(c.text);
}

QString panelText(C c)
{
    const auto* const panel =
        std::find_if(kPanelCodes.begin(), kPanelCodes.end(),
                     [&c](const PanelCode& one) { return one.code == c.number; });
    return QStringLiteral("%1 (%2)").arg(c.number).arg(QLatin1String(panel->meaning));
}

constexpr Form kSlots{slotsOf, [](C) { return QString(); }};
constexpr Form kGauges{gaugesOf, quoted};
constexpr Form kPanelCode{panelCodeOf, panelText};
constexpr Form kPodCount{podCountOf, numberText};
constexpr Form kTexts{textsOf, quoted};
constexpr Form kTimes{textsOf, [](C c) {
                          return c.number == 1
                                     ? quoted(c)
                                     : quoted(c) + QStringLiteral(" %1 times").arg(c.number);
                      }};
constexpr Form kFlag{flagOf, [](C c) { return QString::fromLatin1(c.number ? "true" : "false"); }};
constexpr Form kTrue{trueOf, [](C) { return QString(); }};
constexpr Form kBytes{bytesOf, [](C c) { return quoted(c) + QStringLiteral(" %1").arg(c.number); }};
/// Stands in the step itself.
constexpr Form kAt{nullptr, [](C c) { return QString::number(c.number / 1000.0); }};

struct Row
{
    Kind kind;
    const char* name;
    Form form;
    std::function<bool(C condition, B bench)> holds;
};

/// Holds when it does of the last pod of each of the slots.
Row ofPods(Kind kind, const char* name, bool (*done)(const PodReport& pod))
{
    return {kind, name, kSlots, [done](C condition, B bench) {
                const std::vector<int> slot_list = slotsIn(condition.slot_set);
                return std::all_of(slot_list.begin(), slot_list.end(), [&](int slot) {
                    const auto pod = bench.lastReport(slot);
                    return pod && done(*pod);
                });
            }};
}

bool areIn(const SlotSet& some, const SlotSet& all)
{
    return (some & ~all).none();
}

const std::vector<Row>& rows()
{
    static const std::vector<Row> all{
        {Kind::Time, "second", kAt, [](C c, B bench) { return bench.elapsedMs() >= c.number; }},
        ofPods(Kind::ReadoutBegun, "readout begun",
               [](auto& pod) { return pod.readouts_begun > 0; }),
        ofPods(Kind::ReadoutCompleted, "readout completed",
               [](auto& pod) { return pod.readouts_completed > 0; }),
        ofPods(Kind::Erased, "erased", [](auto& pod) { return pod.erased; }),
        ofPods(Kind::Charging, "charging",
               [](auto& pod) { return pod.charge_polls > 0 && !pod.charged; }),
        ofPods(Kind::Charged, "charged", [](auto& pod) { return pod.charged; }),
        {Kind::Vanished, "vanished", kSlots,
         [](C c, B bench) { return areIn(c.slot_set, ~bench.plugged()); }},
        ofPods(Kind::Bootloader, "bootloader",
               [](auto& pod) { return pod.mode == PodMode::Bootloader; }),
        ofPods(Kind::Updating, "updating",
               [](auto& pod) {
                   return pod.mode == PodMode::Bootloader && pod.bootloader.image_bytes > 0;
               }),
        ofPods(Kind::Updated, "updated", isUpdated),
        {Kind::GaugeFull, "gauge full", kSlots,
         [](C c, B bench) { return areIn(c.slot_set, bench.fullGauges()); }},
        {Kind::GaugeEmpty, "gauge empty", kSlots,
         [](C c, B bench) { return areIn(c.slot_set, bench.emptyGauges()); }},
        {Kind::Gauge, "gauge", kGauges,
         [](C c, B bench) {
             const std::vector<int> slot_list = slotsIn(c.slot_set);
             return std::all_of(slot_list.begin(), slot_list.end(),
                                [&](int slot) { return bench.gaugeState(slot) == c.text; });
         }},
        {Kind::Log, "log", kTimes, [](C c, B bench) { return bench.logged(c.text) >= c.number; }},
        {Kind::RunLog, "run log", kTexts, [](C c, B bench) { return bench.loggedInRun(c.text); }},
        {Kind::Panel, "panel", kPanelCode,
         [](C c, B bench) { return bench.panelCode() == c.number; }},
        {Kind::PodThreads, "pod threads", kPodCount,
         [](C c, B bench) { return bench.podThreads() == c.number; }},
        {Kind::StickBytes, "stick bytes", kBytes,
         [](C c, B bench) { return bench.stickBytes(c.text) >= c.number; }},
        {Kind::StickLacks, "stick lacks", kTexts,
         [](C c, B bench) { return bench.stickLacks(c.text); }},
        {Kind::StickMounted, "stick mounted", kFlag,
         [](C c, B bench) { return bench.stickMounted() == (c.number != 0); }},
        {Kind::StationBytes, "station bytes", kBytes,
         [](C c, B bench) { return bench.stationBytes(c.text) >= c.number; }},
        {Kind::Ended, "ended", kTrue, [](C, B bench) { return !bench.stationRuns(); }},
    };
    return all;
}

const Row& rowOf(C condition)
{
    // There is one for each kind.
    return *std::find_if(rows().begin(), rows().end(),
                         [&condition](const Row& row) { return row.kind == condition.kind; });
}

} // namespace

bool holds(const Condition& condition, const BenchView& bench)
{
    return rowOf(condition).holds(condition, bench);
}

QString textOf(const Condition& condition, QString (*in_words)(const SlotSet& slot_set))
{
    const Row& row = rowOf(condition);
    QStringList words{QLatin1String(row.name), row.form.text(condition)};
    if (condition.slot_set.any())
        words += in_words(condition.slot_set);
    words.removeAll(QString());
    return words.join(QLatin1Char(' '));
}

std::vector<Condition> readConditions(const JsonPlace& after)
{
    Conditions conditions;
    JsonPlace::Members members;
    for (const Row& row : rows())
        if (row.form.read != nullptr)
            members.emplace_back(row.name, [&conditions, &row](const JsonPlace& value) {
                const Conditions read = row.form.read(row.kind, value);
                conditions.insert(conditions.end(), read.begin(), read.end());
            });
    members.emplace_back("times", [&conditions, &after](const JsonPlace& value) {
        after.member("log").oneOrMoreTexts(); // else there is nothing to count
        const int times = value.number(1, std::numeric_limits<int>::max());
        for (Condition& condition : conditions)
            condition.number = condition.kind == Kind::Log ? times : condition.number;
    });
    if (after.memberNames().isEmpty())
        after.refuse(QStringLiteral("a condition is needed here"));
    after.readMembers(members);
    return conditions;
}
