#include "common/bytesize.h"

#include "common/badinput.h"

#include <limits>

namespace {

quint64 unitOf(QChar letter)
{
    switch (letter.toUpper().unicode()) {
    case 'K':
        return 1024;
    case 'M':
        return 1024ULL * 1024;
    case 'G':
        return 1024ULL * 1024 * 1024;
    default:
        return 1;
    }
}

} // namespace

quint64 largeByteCountFromText(const QString& text)
{
    const QString trimmed = text.trimmed();
    const quint64 unit = trimmed.isEmpty() ? 1 : unitOf(trimmed.back());
    bool ok = false;
    const quint64 count = (unit == 1 ? trimmed : trimmed.chopped(1)).toUInt(&ok);
    if (!ok)
        throw BadInput(QStringLiteral("'%1' is no size: write 4096, 64K or 8M").arg(trimmed));
    return count * unit;
}

quint32 byteCountFromText(const QString& text)
{
    const quint64 bytes = largeByteCountFromText(text);
    if (bytes > std::numeric_limits<quint32>::max())
        throw BadInput(
            QStringLiteral("'%1' is more than a recording can hold (4 GiB)").arg(text.trimmed()));
    return static_cast<quint32>(bytes);
}

SizeRange sizeRangeFromText(const QString& text)
{
    const int dash = text.indexOf(QLatin1Char('-'));
    if (dash < 0) {
        const quint32 bytes = byteCountFromText(text);
        return {bytes, bytes};
    }
    const SizeRange range{byteCountFromText(text.left(dash)),
                          byteCountFromText(text.mid(dash + 1))};
    if (range.max_bytes < range.min_bytes)
        throw BadInput(QStringLiteral("the sizes '%1' run backwards").arg(text));
    return range;
}
