#include "site/stationlog.h"

#include <algorithm>

namespace {

// Anywhere in a line, since threads that write at once may share one.
const QStringList& alarms()
{
    static const QStringList texts{
        QStringLiteral("[WARNING]"),       QStringLiteral("[CRITICAL]"),
        QStringLiteral("[FATAL]"),         QStringLiteral("AddressSanitizer"),
        QStringLiteral("ThreadSanitizer"), QStringLiteral("LeakSanitizer"),
        QStringLiteral("runtime error:"),  QStringLiteral("terminate called"),
    };
    return texts;
}

// The screen that the bench gives the station says this as a warning when it is there.
const QString& screenGreeting()
{
    static const QString text = QStringLiteral("QVncServer created on port");
    return text;
}

bool holdsOneOf(const QString& line, const QStringList& texts)
{
    return std::any_of(texts.begin(), texts.end(),
                       [&line](const QString& text) { return line.contains(text); });
}

} // namespace

QStringList StationLog::append(const QByteArray& output)
{
    m_begun_line += output;
    QStringList completed;
    for (int end = m_begun_line.indexOf('\n'); end >= 0; end = m_begun_line.indexOf('\n')) {
        completed += QString::fromUtf8(m_begun_line.constData(), end);
        m_begun_line.remove(0, end + 1);
    }
    m_lines += completed;
    return completed;
}

bool StationLog::runHolds(const QString& text) const
{
    return std::any_of(m_lines.begin() + m_run_begins, m_lines.end(),
                       [&text](const QString& line) { return line.contains(text); });
}

int StationLog::count(const QString& text) const
{
    return static_cast<int>(
        std::count_if(m_lines.begin(), m_lines.end(),
                      [&text](const QString& line) { return line.contains(text); }));
}

QStringList StationLog::unexpected(const QStringList& expected_texts) const
{
    QStringList lines;
    for (const QString& line : m_lines)
        if (holdsOneOf(line, alarms()) &&
            !holdsOneOf(line, expected_texts + QStringList(screenGreeting())))
            lines += line;
    return lines;
}
