#pragma once

#include <QTextStream>

#include <functional>

/// Rows of the tables in which all figures are printed.
namespace figures {

QString number(double value, int decimals);

void printHead(QTextStream& out);
/// A ratio and the two figures behind it.
void printRow(QTextStream& out, const char* what, double ours, double reference, const char* unit,
              const char* aim);

/// Has tables printed; the program's exit code. A failure is told and ends them.
int print(const std::function<void(QTextStream&)>& tables);

} // namespace figures
