#pragma once

#include <QString>
#include <QStringList>

class MachineShell;

/// What the machine's shell said to the command when it failed, or that it gave no answer within
/// minutes; empty when all was well, and `said` is what it wrote. The event loop runs meanwhile.
QString failureOf(MachineShell& shell, const QString& command, QStringList* said = nullptr);
