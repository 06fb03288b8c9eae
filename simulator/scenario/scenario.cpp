#include "scenario/scenario.h"

#include "common/panelcode.h"

namespace {

/// The places plugged; all done, a screenshot (unless the name is empty), then the end.
Scenario simpleScenario(const QString& name, const PodPlan& plan, SlotSet slot_set,
                        const std::vector<Condition>& all_done, const QString& screenshot)
{
    Scenario scenario;
    scenario.name = name;
    scenario.plans.fill(plan);
    scenario.plugged = slot_set;
    if (!screenshot.isEmpty())
        scenario.steps.push_back(
            {all_done, verb::Screenshot{screenshot}, QStringLiteral("picture")});
    scenario.steps.push_back({all_done, verb::Quit{}, QStringLiteral("end")});
    return scenario;
}

} // namespace

Scenario plainScenario(const PodPlan& plan, SlotSet slot_set, bool stick, const QString& screenshot)
{
    Scenario scenario = simpleScenario(QStringLiteral("plain"), plan, slot_set,
                                       {{Condition::Kind::GaugeFull, slot_set, {}, 0},
                                        {Condition::Kind::Panel, {}, {}, kPanelCopied}},
                                       screenshot);
    scenario.stick.inserted = stick;
    scenario.expect.archived = slot_set;
    scenario.expect.erased = slot_set;
    return scenario;
}

Scenario plainUpdate(const PodPlan& plan, SlotSet slot_set, const FirmwarePlan& firmware,
                     const QString& screenshot)
{
    Scenario scenario = simpleScenario(QStringLiteral("update"), plan, slot_set,
                                       {{Condition::Kind::Updated, slot_set, {}, 0},
                                        {Condition::Kind::Charged, slot_set, {}, 0},
                                        {Condition::Kind::GaugeFull, slot_set, {}, 0}},
                                       screenshot);
    scenario.firmware = firmware;
    scenario.expect.updated = slot_set;
    scenario.expect.kept = slot_set;
    return scenario;
}
