#pragma once

#include <QByteArray>

#include <optional>

/// A frame as it arrived.
struct SlipFrame
{
    QByteArray payload;
    qint64 wire_bytes = 0; ///< escapes and the end byte included
    bool broken = false;   ///< an escape was not followed by what may follow it
};

/// The payload with its escapes, and the end byte behind it.
QByteArray slipEncoded(const QByteArray& payload);

/// Takes frames apart as RFC 1055 has it, a byte at a time. A value; a broken frame is delivered as
/// such, and of one without end only the first 128 KiB are kept.
class SlipDecoder
{
public:
    /// The frame that this byte ends, if it ends one.
    std::optional<SlipFrame> add(char byte);

private:
    void keep(char byte);

    SlipFrame m_frame;
    bool m_escaped = false;
};
