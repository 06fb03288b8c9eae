#include "app/prompt.h"

#include "common/badinput.h"
#include "scenario/verbparser.h"

#include <QTextStream>

#include <array>
#include <unistd.h>
#include <utility>

Prompt::Prompt(Bench& bench, PodPlan usual)
    : m_bench(bench)
    , m_usual(std::move(usual))
    , m_notifier(STDIN_FILENO, QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, &Prompt::readInput);
    connect(&bench.station(), &Station::ended, this, [](int exit_code) {
        show(QStringLiteral("The station has ended, exit code %1.").arg(exit_code));
    });
    show(QStringLiteral("Type help for what can be done.\n"));
}

void Prompt::readInput()
{
    std::array<char, 1024> bytes{};
    const ssize_t length = ::read(STDIN_FILENO, bytes.data(), bytes.size());
    if (length <= 0) {
        endOfInput();
        return;
    }
    m_input.append(bytes.data(), static_cast<int>(length));
    for (int end = m_input.indexOf('\n'); end >= 0; end = m_input.indexOf('\n')) {
        const QString line = QString::fromUtf8(m_input.left(end));
        m_input.remove(0, end + 1);
        obey(line);
    }
}

void Prompt::obey(const QString& line)
{
    if (!line.trimmed().isEmpty()) {
        try {
            show(m_bench.perform(parseVerb(line, m_usual)));
        } catch (const BadInput& bad) {
            show(bad.text());
        }
    }
    show(QString());
}

void Prompt::endOfInput()
{
    m_notifier.setEnabled(false);
    if (::isatty(STDIN_FILENO) != 0)
        m_bench.perform(verb::Quit{});
}

/// The answer, then the mark that says the next line may come.
void Prompt::show(const QString& text)
{
    QTextStream out(stdout);
    out << text;
    if (!text.isEmpty() && !text.endsWith(QLatin1Char('\n')))
        out << '\n';
    if (text.isEmpty() && ::isatty(STDIN_FILENO) != 0)
        out << "> ";
}
