#pragma once

#include <QString>

class MachineShell;

/// What the machine's shell said to the command when it failed, or that it gave no answer within
/// minutes; empty when all was well. The event loop runs meanwhile.
QString failureOf(MachineShell& shell, const QString& command);
