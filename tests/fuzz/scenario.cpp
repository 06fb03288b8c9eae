// A scenario file: it is refused in words that name the file, or makes values that the bench can
// take.
#include "common/badinput.h"
#include "fuzz/fuzzing.h"
#include "scenario/scenarioparser.h"

using fuzzing::require;

namespace {

const QString kFile = QStringLiteral("strange.json");

void requireSensible(const PodPlan& plan)
{
    require(plan.size.min_bytes <= plan.size.max_bytes);
    require(plan.polls_until_charged >= 0);
    require(!plan.udid || plan.udid->size() == 8);
    require(plan.resume_at_byte.value_or(0) <= kFlashBytes);
}

void requireSensible(const Condition& condition)
{
    require(condition.kind <= Condition::Kind::Ended);
    require(condition.number >= 0 || condition.kind == Condition::Kind::Panel);
}

void requireSensible(const Scenario& scenario)
{
    for (const PodPlan& plan : scenario.plans)
        requireSensible(plan);
    for (const Step& step : scenario.steps) {
        require(!step.place.isEmpty());
        for (const Condition& condition : step.conditions)
            requireSensible(condition);
        if (const auto* plug = std::get_if<verb::Plug>(&step.action); plug != nullptr && plug->plan)
            requireSensible(*plug->plan);
    }
    require(scenario.time_limit.count() > 0 && scenario.download_space_bytes >= 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size_bytes)
{
    try {
        requireSensible(parseScenario(fuzzing::bytesOf(data, size_bytes), kFile, PodPlan()));
    } catch (const BadInput& e) {
        require(e.text().contains(kFile));
    }
    return 0;
}
