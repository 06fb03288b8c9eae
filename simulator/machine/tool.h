#pragma once

#include <QStringList>

/// Runs one of the system's programs to its end, with this input. Throws BadInput with what it said
/// when it cannot be run or fails; returns its output.
QByteArray runTool(const QString& program, const QStringList& arguments,
                   const QByteArray& input = {});
