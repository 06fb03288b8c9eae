#include "figures.h"

#include "common/badinput.h"

#include <exception>

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

int figures::print(const std::function<void(QTextStream&)>& tables)
{
    try {
        QTextStream out(stdout);
        tables(out);
        return 0;
    } catch (const BadInput& bad) {
        QTextStream(stderr) << "failed: " << bad.text() << '\n';
    } catch (const std::exception& failure) {
        QTextStream(stderr) << "failed: " << failure.what() << '\n';
    }
    return 1;
}
