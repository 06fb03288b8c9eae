#include "pod/slipframing.h"

#include <utility>

namespace {

constexpr char kEnd = '\xC0';
constexpr char kEscape = '\xDB';
constexpr char kEscapedEnd = '\xDC';
constexpr char kEscapedEscape = '\xDD';

// Twice the largest frame that a pod can ask for.
constexpr int kMostKeptBytes = 128 * 1024;

} // namespace

QByteArray slipEncoded(const QByteArray& payload)
{
    QByteArray frame;
    frame.reserve(2 * payload.size() + 1);
    for (const char byte : payload) {
        if (byte == kEnd)
            frame.append(kEscape).append(kEscapedEnd);
        else if (byte == kEscape)
            frame.append(kEscape).append(kEscapedEscape);
        else
            frame.append(byte);
    }
    return frame.append(kEnd);
}

void SlipDecoder::keep(char byte)
{
    if (m_frame.payload.size() < kMostKeptBytes)
        m_frame.payload.append(byte);
}

std::optional<SlipFrame> SlipDecoder::add(char byte)
{
    ++m_frame.wire_bytes;
    const bool escaped = std::exchange(m_escaped, false);
    if (byte == kEnd) {
        m_frame.broken = m_frame.broken || escaped;
        return std::exchange(m_frame, {});
    }
    if (!escaped && byte == kEscape)
        m_escaped = true;
    else if (!escaped)
        keep(byte);
    else if (byte == kEscapedEnd)
        keep(kEnd);
    else if (byte == kEscapedEscape)
        keep(kEscape);
    else
        m_frame.broken = true;
    return std::nullopt;
}
