#include "explore/dayscript.h"

#include "common/panelcode.h"
#include "common/slotset.h"
#include "explore/json.h"

#include <algorithm>

using json::ifPossible;
using json::list;
using json::object;
using json::with;

namespace {

constexpr int kTimeLimit = 1200;

QJsonObject after(std::initializer_list<std::pair<const char*, json::Value>> events)
{
    return object({{"after", object(events)}});
}

QString slotsText(const std::vector<int>& slot_list)
{
    SlotSet set;
    for (const int slot : slot_list)
        set.set(static_cast<std::size_t>(slot));
    return slotSetToText(set);
}

/// Everything that a day's steps do, by verb.
std::vector<QJsonObject> plugsOf(const Day& day)
{
    std::vector<QJsonObject> plugs;
    for (const Episode& episode : day.episodes)
        for (const QJsonValue step : episode.steps)
            if (step.toObject().contains(QStringLiteral("plug")))
                plugs.push_back(step[QStringLiteral("plug")].toObject());
    return plugs;
}

std::vector<QJsonObject> sticksOf(const Day& day)
{
    std::vector<QJsonObject> sticks{day.stick};
    for (const Episode& episode : day.episodes)
        for (const QJsonValue step : episode.steps)
            if (step[QStringLiteral("stick")].isObject())
                sticks.push_back(step[QStringLiteral("stick")].toObject());
    return sticks;
}

bool anyStickHolds(const Day& day, const char* name)
{
    const auto sticks = sticksOf(day);
    return std::any_of(sticks.begin(), sticks.end(), [name](const QJsonObject& stick) {
        return stick[QStringLiteral("content")].toObject().contains(QLatin1String(name));
    });
}

QJsonArray earlierNames(const Day& day)
{
    QJsonArray names;
    const int count = day.settings[QStringLiteral("archives")][QStringLiteral("count")].toInt();
    for (int number = 0; number < count; ++number)
        names += QStringLiteral("%1.cvx").arg(number, 10, 10, QLatin1Char('0'));
    return names;
}

QJsonObject calmPlug(const DayPod& pod)
{
    QJsonObject plan = object({{"slots", pod.calm_slot},
                               {"pod", pod.number},
                               {"size", pod.size_bytes},
                               {"speed", 0},
                               {"polls until charged", 0}});
    if (!pod.udid.isEmpty())
        plan.insert(QStringLiteral("udid"), pod.udid);
    return object({{"plug", plan}});
}

/// In which a pod may be after this day.
SlotSet slotsOf(const Day& day)
{
    SlotSet slot_set;
    for (const QJsonObject& plug : plugsOf(day))
        slot_set.set(static_cast<std::size_t>(plug[QStringLiteral("slots")].toInt()));
    return slot_set;
}

std::vector<int> calmSlots(const Day& day)
{
    std::vector<int> all;
    for (const DayPod& pod : day.pods)
        all.push_back(pod.calm_slot);
    return all;
}

/// Pods may be in their bootloader, or stuck on the way from or to it: all are given the firmware.
void addUpdate(const Day& day, QJsonArray& steps)
{
    const QJsonObject idle = after({{"pod threads", 0}});
    const QJsonObject restart = with(after({{"ended", true}}), object({{"station", "restart"}}));
    steps += with(idle, object({{"station", "stop"}}));
    // Not before: a station that has just begun would take it, and be stopped with it.
    steps += with(after({{"ended", true}}), object({{"stick", object({{"package", true}})}}));
    steps += restart;
    for (const DayPod& pod : day.pods)
        steps += calmPlug(pod);
    const std::vector<int> all = calmSlots(day);
    QJsonObject done = after({{"updated", slotsText(all)}, {"charged", slotsText(all)}});
    for (const int slot : all) {
        steps += with(done, object({{"unplug", slot}}));
        done = {};
    }
    steps += with(idle, object({{"station", "stop"}}));
    steps += with(after({{"ended", true}}), object({{"stick", "out"}}));
    steps += restart;
}

void addHealing(const Day& day, QJsonArray& steps)
{
    if (day.ownDisk())
        steps += object({{"room", day.settings[QStringLiteral("disk")].toInt()}});
    for (const int slot : slotsIn(slotsOf(day)))
        steps += ifPossible(object({{"unplug", slot}}));
    if (!day.machine)
        steps += ifPossible(object({{"stick", "out"}}));
    if (day.firmware())
        addUpdate(day, steps);
    const QJsonObject stick =
        day.machine ? object({{"stick", "in"}}) : object({{"stick", QJsonObject()}});
    steps += ifPossible(with(after({{"pod threads", 0}}), stick));
}

/// Pods come, are brought to the stick and charged, and go. Where there is no room for all
/// read-outs at once, each waits for the one before it.
void addService(const Day& day, const std::vector<DayPod>& pods, QJsonArray& steps)
{
    const bool one_by_one = day.settings.contains(QStringLiteral("download space"));
    std::vector<int> all;
    std::vector<int> recorded;
    for (const DayPod& pod : pods) {
        steps += one_by_one && !all.empty() ? with(after({{"charged", all.back()}}), calmPlug(pod))
                                            : calmPlug(pod);
        all.push_back(pod.calm_slot);
        if (!pod.isEmpty())
            recorded.push_back(pod.calm_slot);
    }
    QJsonObject done = after({{"charged", slotsText(all)},
                              {"gauge full", slotsText(all)},
                              {"erased", slotsText(recorded)},
                              {"panel", kPanelCopied}});
    for (const int slot : all) {
        steps += with(done, object({{"unplug", slot}}));
        done = {};
    }
}

void addMeasuring(const Day& day, QJsonArray& steps)
{
    const QJsonObject idle = after({{"pod threads", 0}});
    steps += with(idle, object({{"station", "measure"}}));
    steps += object({{"station", "stop"}});
    steps += with(after({{"ended", true}}), object({{"station", "restart"}}));
    addService(day, {day.pods.front()}, steps);
    steps += with(idle, object({{"station", "measure"}}));
}

/// What pods, sticks and people explain.
QJsonArray explainedWarnings(const Day& day)
{
    // Pods are pulled in the middle of something, at the latest when calm begins.
    QJsonArray texts = list({"Download exception", "LibUsb exception"});
    const auto plugs = plugsOf(day);
    const QString three_times = podFaultName(PodFault::DigestWrongAlways);
    if (std::any_of(plugs.begin(), plugs.end(), [&three_times](const QJsonObject& plug) {
            return plug[QStringLiteral("fault")] == three_times;
        }))
        texts += QStringLiteral("Kept although its digest was wrong three times");
    if (anyStickHolds(day, "cmd_gen_backup.txt")) {
        texts += QStringLiteral("No backup");
        texts += QStringLiteral("The backup command cannot be removed");
    }
    if (day.ownDisk())
        for (const char* text : {"Not archived", "No new archive at", "Not in the backup"})
            texts += QLatin1String(text);
    if (day.firmware()) {
        texts += QStringLiteral("Not updated");
        // Of a wrong checksum; and of a pod left in its bootloader at a station without a package.
        texts += QStringLiteral("Unhandled exception");
    }
    if (anyStickHolds(day, "cmd_gen_report.txt"))
        texts += QStringLiteral("No report on the stick");
    if (anyStickHolds(day, "cmd_erase_datas.txt")) {
        texts += QStringLiteral("Cannot be read:");
        texts += QStringLiteral("Cannot be removed, so nothing is erased");
    }
    for (const QJsonObject& stick : sticksOf(day))
        for (const QJsonValue item : stick[QStringLiteral("content")].toObject())
            if (item.isObject() && !texts.contains(QStringLiteral("Left alone")))
                texts += QStringLiteral("Left alone");
    return texts;
}

/// Those that only ever had healthy pods with recordings under names of their own.
SlotSet punctualSlots(const Day& day)
{
    SlotSet used;
    SlotSet excused;
    auto plugs = plugsOf(day);
    for (const DayPod& pod : day.pods)
        plugs.push_back(calmPlug(pod)[QStringLiteral("plug")].toObject());
    for (const QJsonObject& plug : plugs) {
        const auto slot = static_cast<std::size_t>(plug[QStringLiteral("slots")].toInt());
        const int size_bytes = plug[QStringLiteral("size")].toInt();
        used.set(slot);
        if (plug.contains(QStringLiteral("fault")) || plug.contains(QStringLiteral("udid")) ||
            size_bytes == 0 || size_bytes == 512)
            excused.set(slot);
    }
    return used & ~excused;
}

/// The work that all slots share, twice, and some for a busy computer: every recording is read and
/// archived, and each plugging may lead to a copy of all there is at the slowest stick's speed.
int punctualSeconds(const Day& day)
{
    const auto plugs = plugsOf(day);
    const QJsonObject archives = day.settings[QStringLiteral("archives")].toObject();
    double bytes =
        archives[QStringLiteral("count")].toInt() * archives[QStringLiteral("size")].toDouble();
    for (const QJsonObject& plug : plugs)
        bytes += plug[QStringLiteral("size")].toDouble();
    for (const DayPod& pod : day.pods)
        bytes += pod.size_bytes;
    double slowest = 20e6;
    for (const QJsonObject& stick : sticksOf(day))
        if (const double speed = stick[QStringLiteral("speed")].toDouble(); speed > 0)
            slowest = std::min(slowest, speed);
    const auto services = static_cast<double>(plugs.size() + day.pods.size());
    return static_cast<int>(60 + 2 * services * (1 + bytes / slowest));
}

QJsonObject expectationsOf(const Day& day)
{
    std::vector<int> recorded;
    for (const DayPod& pod : day.pods)
        if (!pod.isEmpty())
            recorded.push_back(pod.calm_slot);
    QJsonObject expect = object({{"on stick", false},
                                 {"erased", slotsText(recorded)},
                                 {"delivered", slotsText(recorded)},
                                 {"settled", day.measured},
                                 {"station lacks", list({"backup.zip", "tmp_back"})},
                                 {"log lacks", list({"Unknown exception"})},
                                 {"warnings", explainedWarnings(day)}});
    // Pods that are updated are not read, and on a full disk nothing is archived.
    const SlotSet punctual = day.firmware() || day.ownDisk() ? SlotSet() : punctualSlots(day);
    if (punctual.any() && !day.settings.contains(QStringLiteral("download space")))
        expect.insert(QStringLiteral("punctual"), object({{"slots", slotSetToText(punctual)},
                                                          {"seconds", punctualSeconds(day)}}));
    if (day.firmware())
        expect.insert(QStringLiteral("updated"), slotsText(calmSlots(day)));
    if (anyStickHolds(day, "cmd_erase_datas.txt"))
        expect.insert(QStringLiteral("erased archives"), earlierNames(day));
    return expect;
}

} // namespace

QJsonObject scenarioOf(const Day& day)
{
    // A station that is asked to end before it can hear would be killed.
    QJsonArray steps{
        ifPossible(with(after({{"run log", "Version:"}}), object({{"touch", list({240, 136})}})))};
    for (const Episode& episode : day.episodes)
        for (const QJsonValue step : episode.steps)
            steps += step;
    addHealing(day, steps);
    addService(day, day.pods, steps);
    if (day.measured)
        addMeasuring(day, steps);
    steps += with(after({{"pod threads", 0}}),
                  object({{"station", day.seed % 2 == 0 ? "quit" : "stop"}}));
    return with(day.settings, object({{"name", QStringLiteral("day %1").arg(day.seed)},
                                      {"time limit", kTimeLimit},
                                      {"stick", day.stick},
                                      {"steps", steps},
                                      {"expect", expectationsOf(day)}}));
}
