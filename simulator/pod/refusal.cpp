#include "pod/refusal.h"

#include <QStringList>

namespace {

struct Kind
{
    const char* result; ///< without the end of the string
    const char* name;
};

/// In the order of Refusal.
constexpr std::array<Kind, kRefusalKinds> kKinds{{
    {"\x03", "write above the MTU"},
    {"\x04", "write beyond its object"},
    {"\x08", "write without an object"},
    {"\x04", "object too large"},
    {"\x08", "data before the init packet"},
    {"\x08", "execute of an unfinished object"},
    {"\x08", "execute of nothing"},
    {"\x0B\x04", "init packet too short"},
    {"\x0A", "image of an impossible size"},
    {"\x05", "image with a wrong digest"},
    {"\x02", "unknown request"},
    {"\x07", "unknown object"},
    {"\x03", "malformed request"},
}};

} // namespace

QByteArray refusalResult(Refusal refusal)
{
    return kKinds.at(size_t(refusal)).result;
}

QString refusalText(const RefusalCounts& counts)
{
    QStringList parts;
    for (size_t kind = 0; kind < counts.size(); ++kind)
        if (counts.at(kind) > 0)
            parts += QStringLiteral("%1 x %2")
                         .arg(counts.at(kind))
                         .arg(QLatin1String(kKinds.at(kind).name));
    return parts.join(QStringLiteral(", "));
}
