#include "scenario/conditions.h"

#include "common/panelcode.h"

#include <QDir>

#include <algorithm>
#include <functional>
#include <limits>

namespace {

using Kind = Condition::Kind;
using Conditions = std::vector<Condition>;

struct Row
{
    Kind kind;
    const char* name;
    std::function<Conditions(Kind kind, const JsonPlace& value)> read;
    std::function<bool(const Condition& condition, const BenchView& bench)> holds;
};

Conditions slotsOf(Kind kind, const JsonPlace& value)
{
    return {{kind, value.slotSet(), {}, 0}};
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

/// Holds when it does of the last pod of each of the slots.
Row ofPods(Kind kind, const char* name, bool (*done)(const PodReport& pod))
{
    return {kind, name, slotsOf, [done](const Condition& condition, const BenchView& bench) {
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

using C = const Condition&;
using B = const BenchView&;

const std::vector<Row>& rows()
{
    static const std::vector<Row> all{
        // This one stands in the step itself.
        {Kind::Time, nullptr, nullptr, [](C c, B bench) { return bench.elapsedMs() >= c.number; }},
        ofPods(Kind::ReadoutBegun, "readout begun",
               [](auto& pod) { return pod.readouts_begun > 0; }),
        ofPods(Kind::ReadoutCompleted, "readout completed",
               [](auto& pod) { return pod.readouts_completed > 0; }),
        ofPods(Kind::Erased, "erased", [](auto& pod) { return pod.erased; }),
        ofPods(Kind::Charging, "charging",
               [](auto& pod) { return pod.charge_polls > 0 && !pod.charged; }),
        ofPods(Kind::Charged, "charged", [](auto& pod) { return pod.charged; }),
        {Kind::Vanished, "vanished", slotsOf,
         [](C c, B bench) { return areIn(c.slot_set, ~bench.plugged()); }},
        ofPods(Kind::Bootloader, "bootloader",
               [](auto& pod) { return pod.mode == PodMode::Bootloader; }),
        ofPods(Kind::Updating, "updating",
               [](auto& pod) {
                   return pod.mode == PodMode::Bootloader && pod.bootloader.image_bytes > 0;
               }),
        ofPods(Kind::Updated, "updated", isUpdated),
        {Kind::GaugeFull, "gauge full", slotsOf,
         [](C c, B bench) { return areIn(c.slot_set, bench.fullGauges()); }},
        {Kind::GaugeEmpty, "gauge empty", slotsOf,
         [](C c, B bench) { return areIn(c.slot_set, bench.emptyGauges()); }},
        {Kind::Log, "log", textsOf, [](C c, B bench) { return bench.logged(c.text) >= c.number; }},
        {Kind::Panel, "panel", panelCodeOf,
         [](C c, B bench) { return bench.panelCode() == c.number; }},
        {Kind::PodThreads, "pod threads", podCountOf,
         [](C c, B bench) { return bench.podThreads() == c.number; }},
        {Kind::StickBytes, "stick bytes", bytesOf,
         [](C c, B bench) { return bench.stickBytes(c.text) >= c.number; }},
        {Kind::StickLacks, "stick lacks", textsOf,
         [](C c, B bench) { return bench.stickLacks(c.text); }},
        {Kind::StickMounted, "stick mounted", flagOf,
         [](C c, B bench) { return bench.stickMounted() == (c.number != 0); }},
        {Kind::StationBytes, "station bytes", bytesOf,
         [](C c, B bench) { return bench.stationBytes(c.text) >= c.number; }},
        {Kind::Ended, "ended", trueOf, [](C, B bench) { return !bench.stationRuns(); }},
    };
    return all;
}

} // namespace

bool holds(const Condition& condition, const BenchView& bench)
{
    const auto row = std::find_if(rows().begin(), rows().end(), [&condition](const Row& one) {
        return one.kind == condition.kind;
    });
    return row->holds(condition, bench); // there is one for each kind
}

std::vector<Condition> readConditions(const JsonPlace& after)
{
    Conditions conditions;
    JsonPlace::Members members;
    for (const Row& row : rows())
        if (row.name != nullptr)
            members.emplace_back(row.name, [&conditions, &row](const JsonPlace& value) {
                const Conditions read = row.read(row.kind, value);
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
