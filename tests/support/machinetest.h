#pragma once

#include "bench/bench.h"
#include "machine/machinesite.h"
#include "scenario/scenario.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

struct Computer;

/// What the tests of the machine have in common. All run the event loop while they wait, for some
/// minutes at the most: a machine is slow to boot beside other programs.
namespace machinetest {

/// What the machine's shell said to the command when it failed, or that it gave no answer; empty
/// when all was well, and `said` is what it wrote.
QString failureOf(MachineShell& shell, const QString& command, QStringList* said = nullptr);

/// False when it does not happen.
bool comes(const std::function<bool()>& event);

/// What the environment says, or else the usual number.
int numberFrom(const char* variable, int usual);

/// A bench with such a computer, and in `site` what it makes of it. Without packages, with the
/// program as it was built.
std::unique_ptr<Bench> benchOf(const Computer& computer, const MachineExtras& extras,
                               const Scenario& scenario, MachineSite*& site);

/// Whether all is as expected; if not, the whole summary is on stderr, as a test's own message
/// would be cut.
bool isGood(const Bench& bench, const Expectations& expect);

/// Pods that are soon read out, for each place; none is plugged. Nothing is on the stick, which is
/// in or out.
Scenario quickPods(quint32 least_bytes, quint32 most_bytes, bool stick = true);

} // namespace machinetest
