#pragma once

#include <QString>

/// How large recordings are: each drawn between the two, both included.
struct SizeRange
{
    quint32 min_bytes;
    quint32 max_bytes;
};

/// "4096", "64K", "8M" or "1G" (powers of 1024). Throws BadInput.
quint64 largeByteCountFromText(const QString& text);
/// Of a recording, which has less than 4 GiB. Throws BadInput.
quint32 byteCountFromText(const QString& text);
/// One count, or two with a dash between: "1M-16M". Throws BadInput.
SizeRange sizeRangeFromText(const QString& text);
