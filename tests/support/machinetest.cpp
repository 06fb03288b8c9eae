#include "support/machinetest.h"

#include "bench/verdict.h"
#include "machine/computer.h"
#include "machine/machineshell.h"

#include <QTextStream>
#include <QtTest>

#include <chrono>
#include <memory>
#include <optional>

namespace machinetest {

QString failureOf(MachineShell& shell, const QString& command, QStringList* said)
{
    const auto result = std::make_shared<std::optional<MachineShell::Result>>();
    shell.run(command, [result](const MachineShell::Result& what) { *result = what; });
    const bool answered = comes([&] { return result->has_value(); });
    if (answered && said != nullptr)
        *said = (*result)->lines;
    if (answered && (*result)->exit_code == 0)
        return {};
    const QStringList why = answered ? (*result)->lines : QStringList(QStringLiteral("no answer"));
    return command + QStringLiteral(": ") + why.join(QLatin1Char('\n'));
}

bool comes(const std::function<bool()>& event)
{
    constexpr std::chrono::milliseconds kLimit = std::chrono::minutes(4);
    return QTest::qWaitFor(event, int(kLimit.count()));
}

int numberFrom(const char* variable, int usual)
{
    bool ok = false;
    const int number = qEnvironmentVariableIntValue(variable, &ok);
    return ok ? number : usual;
}

std::unique_ptr<Bench> benchOf(const Computer& computer, const MachineExtras& extras,
                               const Scenario& scenario, MachineSite*& site)
{
    BenchSettings settings;
    if (extras.packages.isEmpty())
        settings.station_program = QStringLiteral(CORVANE_STATION_PROGRAM);
    settings.make_site = [computer, extras, &site](const auto& of_bench, const auto& plan,
                                                   const auto& folder) {
        auto made = std::make_unique<MachineSite>(of_bench, plan, folder, computer, extras);
        site = made.get();
        return made;
    };
    return std::make_unique<Bench>(settings, scenario);
}

bool isGood(const Bench& bench, const Expectations& expect)
{
    const Verdict verdict = judge(bench, expect);
    if (!verdict.good())
        QTextStream(stderr) << summary(bench, verdict);
    return verdict.good();
}

Scenario quickPods(quint32 least_bytes, quint32 most_bytes, bool stick)
{
    Scenario scenario;
    PodPlan plan;
    plan.size = {least_bytes, most_bytes};
    plan.bytes_per_second = 0;
    plan.polls_until_charged = 0;
    scenario.plans.fill(plan);
    scenario.stick.inserted = stick;
    return scenario;
}

} // namespace machinetest
