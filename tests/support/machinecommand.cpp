#include "support/machinecommand.h"

#include "machine/machineshell.h"

#include <QtTest>

#include <chrono>
#include <memory>
#include <optional>

namespace {
constexpr std::chrono::milliseconds kLimit = std::chrono::minutes(4);
} // namespace

QString failureOf(MachineShell& shell, const QString& command, QStringList* said)
{
    const auto result = std::make_shared<std::optional<MachineShell::Result>>();
    shell.run(command, [result](const MachineShell::Result& what) { *result = what; });
    const bool answered = QTest::qWaitFor([&] { return result->has_value(); }, int(kLimit.count()));
    if (answered && said != nullptr)
        *said = (*result)->lines;
    if (answered && (*result)->exit_code == 0)
        return {};
    const QStringList why = answered ? (*result)->lines : QStringList(QStringLiteral("no answer"));
    return command + QStringLiteral(": ") + why.join(QLatin1Char('\n'));
}
