#include "scenario/scenarioparser.h"

#include "common/panelcode.h"
#include "scenario/conditions.h"
#include "scenario/jsonplace.h"
#include "scenario/podparser.h"
#include "scenario/stickparser.h"
#include "scenario/verbparser.h"

#include <algorithm>
#include <limits>

namespace {

constexpr int kMost = std::numeric_limits<int>::max();

void readPods(const JsonPlace& place, Scenario& scenario)
{
    for (const JsonPlace& pod : place.elements()) {
        const SlotSet slot_set = pod.member("slots").slotSet();
        bool plugged = true;
        for (const int slot : slotsIn(slot_set))
            readPod(pod, scenario.plans.at(slot), {{"slots", {}}, {"plugged", into(plugged)}});
        scenario.plugged = plugged ? scenario.plugged | slot_set : scenario.plugged & ~slot_set;
    }
}

FirmwarePlan firmwarePlanOf(const JsonPlace& place)
{
    FirmwarePlan plan;
    place.readMembers({{"file", [&plan](const JsonPlace& file) { plan.file = file.path(); }},
                       {"size", bytesInto(plan.size_bytes, kFlashBytes)},
                       {"escaped reply", into(plan.escaped_reply)}});
    if (place.has("file") == place.has("size"))
        place.refuse(QStringLiteral("one of file, size is needed here"));
    return plan;
}

Step readStep(const JsonPlace& place, const PodPlan& usual)
{
    Step step;
    std::vector<Verb> verbs;
    JsonPlace::Members members = verbMembers(verbs, usual);
    QStringList names;
    for (const auto& member : members)
        names += QLatin1String(member.first);
    const JsonPlace::Members when{
        {"after", [&step](const JsonPlace& after) { step.conditions = readConditions(after); }},
        {"at",
         [&step](const JsonPlace& at) {
             const auto at_ms = static_cast<int>(at.time().count());
             step.conditions.push_back({Condition::Kind::Time, {}, {}, at_ms});
         }},
        {"wait", into(step.wait)},
        {"patience", into(step.patience)},
        {"if possible", into(step.if_possible)},
    };
    members.insert(members.end(), when.begin(), when.end());
    place.readMembers(members);
    if (verbs.size() != 1)
        place.refuse(
            QStringLiteral("a step does one thing: %1").arg(names.join(QStringLiteral(", "))));
    step.action = verbs.front();
    return step;
}

std::vector<Step> readSteps(const JsonPlace& place, const PodPlan& usual)
{
    std::vector<Step> steps;
    for (const JsonPlace& element : place.elements()) {
        steps.push_back(readStep(element, usual));
        steps.back().place = QStringLiteral("step %1").arg(steps.size());
    }
    return steps;
}

/// Those that note their runs; of any other nobody would know.
QStringList toolsOf(const JsonPlace& place)
{
    static const QStringList noted{QStringLiteral("blkid"), QStringLiteral("lsusb"),
                                   QStringLiteral("mount"), QStringLiteral("umount")};
    for (const QString& tool : place.texts())
        if (!noted.contains(tool))
            place.refuse(QStringLiteral("'%1' is none of the station's tools: %2")
                             .arg(tool, noted.join(QStringLiteral(", "))));
    return place.texts();
}

void readPunctual(const JsonPlace& place, Expectations& expect)
{
    place.readMembers({{"slots", {}}, {"seconds", {}}});
    expect.punctual = place.member("slots").slotSet();
    expect.punctual_limit = place.member("seconds").wholeSeconds();
}

QMap<QString, QStringList> reportOf(const JsonPlace& place)
{
    QMap<QString, QStringList> files;
    for (const QString& name : place.memberNames())
        files.insert(name, place.member(name).texts());
    return files;
}

Expectations readExpectations(const JsonPlace& place)
{
    Expectations expect;
    place.readMembers({
        {"archived", into(expect.archived)},
        {"erased", into(expect.erased)},
        {"delivered", into(expect.delivered)},
        {"kept", into(expect.kept)},
        {"updated", into(expect.updated)},
        {"infos contain", into(expect.infos_contain)},
        {"report", [&expect](const JsonPlace& files) { expect.report = reportOf(files); }},
        {"log contains", into(expect.log_contains)},
        {"log lacks", into(expect.log_lacks)},
        {"warnings", into(expect.warnings)},
        {"entries", into(expect.entries, 0, kMost)},
        {"exit code", into(expect.exit_code, 0, 255)},
        {"local archives", into(expect.local_archives)},
        {"backup", into(expect.backup)},
        {"erased archives", into(expect.erased_archives)},
        {"stick holds", into(expect.stick_holds)},
        {"stick lacks", into(expect.stick_lacks)},
        {"stick keeps", into(expect.stick_keeps)},
        {"station lacks", into(expect.station_lacks)},
        {"panel shown", into(expect.panel_shown, kPanelLeast, kPanelMost)},
        {"panel never", into(expect.panel_never, kPanelLeast, kPanelMost)},
        {"never run", [&expect](const JsonPlace& tools) { expect.never_run = toolsOf(tools); }},
        {"punctual", [&expect](const JsonPlace& value) { readPunctual(value, expect); }},
        {"settled", into(expect.settled)},
        {"on stick", into(expect.on_stick)},
    });
    return expect;
}

bool breaksUpdates(const Step& step)
{
    if (const auto* plug = std::get_if<verb::Plug>(&step.action))
        return plug->plan && isOfBootloader(plug->plan->fault);
    const auto* fault = std::get_if<verb::SetFault>(&step.action);
    return fault != nullptr && isOfBootloader(fault->fault);
}

bool breaksUpdates(const Scenario& scenario)
{
    return std::any_of(scenario.plans.begin(), scenario.plans.end(),
                       [](const PodPlan& plan) { return isOfBootloader(plan.fault); }) ||
           std::any_of(scenario.steps.begin(), scenario.steps.end(),
                       [](const Step& step) { return breaksUpdates(step); });
}

} // namespace

Scenario parseScenario(const QByteArray& json, const QString& file_name, const PodPlan& usual)
{
    const JsonPlace file = JsonPlace::parse(json, file_name);
    Scenario scenario;
    scenario.plans.fill(usual);
    file.readMembers({
        {"name", {}},
        {"pods", [&](const JsonPlace& pods) { readPods(pods, scenario); }},
        {"stick", [&](const JsonPlace& stick) { scenario.stick = stickPlanOf(stick); }},
        {"steps", {}},
        {"expect", {}},
        {"time limit", into(scenario.time_limit)},
        {"download space", bytesInto(scenario.download_space_bytes, kMost)},
        {"disk", bytesInto(scenario.disk_bytes, kMost)},
        {"archives", [&](const JsonPlace& earlier) { scenario.earlier = earlierPlanOf(earlier); }},
        {"firmware", [&](const JsonPlace& plan) { scenario.firmware = firmwarePlanOf(plan); }},
    });
    scenario.name = file.member("name").text();
    scenario.steps = readSteps(file.member("steps"), usual);
    scenario.expect = readExpectations(file.member("expect"));
    if (scenario.expect.updated.any() && !scenario.firmware)
        file.refuse(QStringLiteral("'updated' is expected, but there is no 'firmware'"));
    if (breaksUpdates(scenario) && !scenario.firmware)
        file.refuse(QStringLiteral("a fault is one of updates, but there is no 'firmware'"));
    return scenario;
}
