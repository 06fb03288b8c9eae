#include "figures.h"

QString figures::number(double value, int decimals)
{
    return QString::number(value, 'f', decimals);
}

void figures::printHead(QTextStream& out)
{
    out << "| what | ratio | measured | aim |\n|---|---|---|---|\n";
}

void figures::printRow(QTextStream& out, const char* what, double ours, double reference,
                       const char* unit, const char* aim)
{
    out << "| " << what << " | " << number(ours / reference, 2) << " | " << number(ours, 2) << " / "
        << number(reference, 2) << ' ' << unit << " | " << aim << " |\n";
    out.flush();
}
