#pragma once

#include "scenario/scenario.h"

#include <QString>
#include <QStringList>

#include <functional>

class MachineShell;

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

/// Pods that are soon read out, for each place; none is plugged. Nothing is on the stick.
Scenario quickPods(quint32 least_bytes, quint32 most_bytes);

} // namespace machinetest
