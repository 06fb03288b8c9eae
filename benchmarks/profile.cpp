#include "profile.h"

#include "figures.h"

#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>

namespace {

/// Of the board's 32 bits the upper quarter, and its modules below; programs have the rest.
constexpr quint32 kKernelStart = 0xbf000000;
constexpr int kRows = 14;
const QString kOther = QStringLiteral("other programs");

/// Functions without a name are told apart by where their file has them, in pieces of 256 bytes.
QString nameOrPlace(const QString& name, quint32 address)
{
    constexpr quint32 kPiece = 0x100;
    return name.isEmpty() ? QStringLiteral("at 0x%1").arg(address & ~(kPiece - 1), 0, 16) : name;
}

template <typename Key>
using Row = std::pair<Key, int>;

template <typename Key>
std::vector<Row<Key>> greatest(const std::map<Key, int>& counts)
{
    std::vector<Row<Key>> rows(counts.begin(), counts.end());
    std::stable_sort(rows.begin(), rows.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    rows.resize(std::min<std::size_t>(rows.size(), kRows));
    return rows;
}

QString percent(int part, int whole)
{
    return figures::number(100.0 * part / whole, 1) + QStringLiteral(" %");
}

} // namespace

Profile::Profile(Places places, const QStringList& maps, const QStringList& kernel)
    : m_places(std::move(places))
    , m_kernel(Symbols::ofKernel(kernel))
{
    // 0040a000-00449000 r-xp 0000a000 00:19 1234       /usr/lib/corvane/corvane
    static const QRegularExpression line(
        QStringLiteral("^([0-9a-f]+)-([0-9a-f]+) ..x. ([0-9a-f]+) \\S+ \\d+\\s*(.*)$"));
    for (const QString& text : maps) {
        const auto match = line.match(text);
        if (!match.hasMatch())
            continue;
        const quint32 start = match.captured(1).toUInt(nullptr, 16);
        m_mappings[start] = {match.captured(2).toUInt(nullptr, 16),
                             start - match.captured(3).toUInt(nullptr, 16), match.captured(4)};
    }
}

void Profile::add(const std::vector<quint32>& addresses)
{
    for (const quint32 address : addresses)
        ++m_counts[functionAt(address)];
    m_total += int(addresses.size());
}

Profile::Function Profile::functionAt(quint32 address)
{
    if (address >= kKernelStart)
        return {QStringLiteral("kernel"), nameOrPlace(m_kernel.functionAt(address), address)};
    auto at = m_mappings.upper_bound(address);
    if (at == m_mappings.begin() || address >= (--at)->second.end)
        return {kOther, kOther};
    const Mapping& mapping = at->second;
    if (!mapping.path.startsWith(QLatin1Char('/')))
        return {mapping.path, mapping.path}; // made at run time
    // The first segment of all of them is the code, and lies in memory as in the file.
    const quint32 in_file = address - mapping.file_start;
    return {QFileInfo(mapping.path).fileName(),
            nameOrPlace(symbolsOf(mapping.path).functionAt(in_file), in_file)};
}

const Symbols& Profile::symbolsOf(const QString& path)
{
    const auto known = m_symbols.find(path);
    if (known != m_symbols.end())
        return known->second;
    QString file;
    for (const QString& root : m_places.roots)
        if (file.isEmpty() && QFileInfo::exists(root + path))
            file = root + path;
    return m_symbols.emplace(path, Symbols::ofFile(file, m_places.debug_folder)).first->second;
}

void Profile::print(QTextStream& out) const
{
    std::map<QString, int> libraries;
    for (const auto& [function, count] : m_counts)
        libraries[function.first] += count;
    out << "| library | share of " << m_total << " samples |\n|---|---|\n";
    for (const auto& [library, count] : greatest(libraries))
        out << "| " << library << " | " << percent(count, m_total) << " |\n";
    out << "\n| library | function | share |\n|---|---|---|\n";
    for (const auto& [function, count] : greatest(m_counts))
        out << "| " << function.first << " | `" << function.second << "` | "
            << percent(count, m_total) << " |\n";
    out.flush();
}
