#include "symbols.h"

#include "common/tool.h"

#include <QFile>
#include <QRegularExpression>

#include <iterator>

namespace {

/// Both tools end so when a file has parts that they do not know.
const ToolOptions kLenient{{}, {}, 1};

/// A Thumb function's address is odd.
constexpr quint32 kThumb = 1;

QString debugFileOf(const QString& path, const QString& debug_folder)
{
    static const QRegularExpression build_id(QStringLiteral("Build ID: (..)([0-9a-f]+)"));
    const auto match = build_id.match(QString::fromLatin1(
        runTool(QStringLiteral("readelf"), {QStringLiteral("-n"), path}, kLenient).output));
    const QString file = QStringLiteral("%1/.build-id/%2/%3.debug")
                             .arg(debug_folder, match.captured(1), match.captured(2));
    return match.hasMatch() && QFile::exists(file) ? file : QString();
}

} // namespace

Symbols Symbols::ofFile(const QString& path, const QString& debug_folder)
{
    const QString debug_file = debugFileOf(path, debug_folder);
    QStringList arguments{QStringLiteral("--demangle"), QStringLiteral("--print-size"),
                          QStringLiteral("--defined-only")};
    if (debug_file.isEmpty())
        arguments += QStringLiteral("--dynamic");
    arguments += debug_file.isEmpty() ? path : debug_file;

    static const QRegularExpression line(QStringLiteral("^([0-9a-f]+) ([0-9a-f]+) [tTwWiu] (.+)$"),
                                         QRegularExpression::MultilineOption);
    const QString listed =
        QString::fromUtf8(runTool(QStringLiteral("nm"), arguments, kLenient).output);
    Symbols symbols;
    for (auto all = line.globalMatch(listed); all.hasNext();) {
        const auto match = all.next();
        symbols.m_functions.insert_or_assign(
            match.captured(1).toUInt(nullptr, 16) & ~kThumb,
            Function{match.captured(2).toUInt(nullptr, 16),
                     match.captured(3).section(QLatin1Char('@'), 0, 0)});
    }
    return symbols;
}

Symbols Symbols::ofKernel(const QStringList& lines)
{
    Symbols symbols;
    for (const QString& line : lines) {
        const QString name = line.section(QLatin1Char(' '), 2);
        // "$a" and the like mark kinds of code, not functions.
        if (!name.startsWith(QLatin1Char('$')))
            symbols.m_functions.insert_or_assign(
                line.section(QLatin1Char(' '), 0, 0).toUInt(nullptr, 16) & ~kThumb,
                Function{0, name.section(QLatin1Char('\t'), 0, 0)});
    }
    // Each ends where the next one begins.
    for (auto at = symbols.m_functions.begin(); at != symbols.m_functions.end(); ++at) {
        const auto next = std::next(at);
        if (next != symbols.m_functions.end())
            at->second.size = next->first - at->first;
    }
    return symbols;
}

QString Symbols::functionAt(quint32 address) const
{
    auto at = m_functions.upper_bound(address);
    if (at == m_functions.begin())
        return {};
    --at;
    return address - at->first < at->second.size ? at->second.name : QString();
}
