#include "bench/scenario.h"

namespace {
constexpr int kCopied = 0;
} // namespace

Scenario plainScenario(const PodPlan& plan, SlotSet slot_set, bool stick, const QString& screenshot)
{
    Scenario scenario;
    scenario.name = QStringLiteral("plain");
    scenario.plans.fill(plan);
    scenario.plugged = slot_set;
    scenario.stick.inserted = stick;
    scenario.expect.archived = slot_set;
    scenario.expect.erased = slot_set;
    const std::vector<Condition> all_done{
        {Condition::Kind::GaugeFull, slot_set, QString(), 0},
        {Condition::Kind::Panel, SlotSet(), QString(), kCopied},
    };
    if (!screenshot.isEmpty())
        scenario.steps.push_back(
            {all_done, verb::Screenshot{screenshot}, QStringLiteral("picture")});
    scenario.steps.push_back({all_done, verb::Quit{}, QStringLiteral("end")});
    return scenario;
}
