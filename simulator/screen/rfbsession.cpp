#include "screen/rfbsession.h"

#include <QtEndian>

#include <array>

namespace {

constexpr int kVersionBytes = 12;
constexpr int kScreenBytes = 24;
constexpr int kRectangleHeaderBytes = 12;
constexpr int kPixelBytes = 4;
constexpr int kLargestSidePx = 8192;
constexpr quint32 kNoPassword = 1;
constexpr quint32 kRawEncoding = 0;
/// No pixels, but the size that the screen has from now on.
constexpr quint32 kDesktopSize = 0xFFFFFF21; // -223

enum ServerMessage : quint8 { FramebufferUpdate = 0, Bell = 2, CutText = 3 };
enum ClientMessage : char {
    SetPixelFormat = 0,
    SetEncodings = 2,
    UpdateRequest = 3,
    PointerEvent = 5,
    ClientCutText = 6
};

void append16(QByteArray& out, int value)
{
    std::array<char, 2> bytes{};
    qToBigEndian(static_cast<quint16>(value), bytes.data());
    out.append(bytes.data(), bytes.size());
}

} // namespace

bool RfbSession::receive(const QByteArray& from_server)
{
    m_input += from_server;
    m_update_painted = false;
    while (!failed() && step()) {
    }
    m_input.remove(0, std::exchange(m_consumed, 0));
    return m_update_painted && !failed();
}

void RfbSession::requestUpdate(bool only_changes)
{
    m_output += UpdateRequest;
    m_output += only_changes ? '\1' : '\0';
    append16(m_output, 0);
    append16(m_output, 0);
    append16(m_output, m_picture.width());
    append16(m_output, m_picture.height());
}

void RfbSession::pointer(QPoint at, bool pressed)
{
    m_output += PointerEvent;
    m_output += pressed ? '\1' : '\0';
    append16(m_output, at.x());
    append16(m_output, at.y());
}

void RfbSession::showPresence()
{
    m_output += ClientCutText;
    m_output.append(3 + 4, '\0'); // padding and length
}

bool RfbSession::step()
{
    switch (m_expecting) {
    case Expecting::Version:
        return readVersion();
    case Expecting::Security:
        return readSecurity();
    case Expecting::Screen:
        return readScreen();
    case Expecting::ScreenName:
    case Expecting::Text:
        return readText();
    case Expecting::Message:
        return readMessage();
    case Expecting::Rectangle:
        return readRectangle();
    }
    return false;
}

bool RfbSession::readVersion()
{
    if (!has(kVersionBytes))
        return false;
    const QByteArray version(take(kVersionBytes), kVersionBytes);
    if (!version.startsWith("RFB 003."))
        return fail(QStringLiteral("no framebuffer server: it greets with '%1'")
                        .arg(QString::fromLatin1(version.trimmed())));
    m_output += "RFB 003.003\n";
    m_expecting = Expecting::Security;
    return true;
}

bool RfbSession::readSecurity()
{
    if (!has(4))
        return false;
    const quint32 kind = peek32(0);
    take(4);
    if (kind != kNoPassword)
        return fail(QStringLiteral("the screen asks for security type %1").arg(kind));
    m_output += '\1'; // shared: a person may watch at the same time
    m_expecting = Expecting::Screen;
    return true;
}

bool RfbSession::readScreen()
{
    if (!has(kScreenBytes))
        return false;
    const QSize size(peek16(0), peek16(2));
    m_text_left_bytes = static_cast<int>(qMin<quint32>(peek32(20), kLargestSidePx));
    take(kScreenBytes);
    m_expecting = Expecting::ScreenName;
    return resize(size);
}

bool RfbSession::resize(QSize size)
{
    if (size.isEmpty() || size.width() > kLargestSidePx || size.height() > kLargestSidePx)
        return fail(QStringLiteral("a screen of %1 by %2").arg(size.width()).arg(size.height()));
    m_picture = QImage(size, QImage::Format_RGB32);
    m_picture.fill(Qt::black);
    return true;
}

bool RfbSession::readText()
{
    if (!has(m_text_left_bytes))
        return false;
    take(m_text_left_bytes);
    if (std::exchange(m_expecting, Expecting::Message) == Expecting::ScreenName) {
        m_established = true;
        sendPixelFormatAndEncoding();
        requestUpdate(false);
    }
    return true;
}

bool RfbSession::readMessage()
{
    if (!has(1))
        return false;
    switch (static_cast<quint8>(m_input.at(m_consumed))) {
    case FramebufferUpdate:
        return readUpdateHeader();
    case Bell:
        take(1);
        return true;
    case CutText:
        if (!has(8))
            return false;
        m_text_left_bytes = static_cast<int>(qMin<quint32>(peek32(4), kLargestSidePx));
        take(8);
        m_expecting = Expecting::Text;
        return true;
    default:
        return fail(
            QStringLiteral("unknown message %1").arg(static_cast<int>(m_input.at(m_consumed))));
    }
}

bool RfbSession::readUpdateHeader()
{
    if (!has(4))
        return false;
    m_rectangles_left = peek16(2);
    take(4);
    m_update_painted = m_rectangles_left == 0;
    m_expecting = m_rectangles_left == 0 ? Expecting::Message : Expecting::Rectangle;
    return true;
}

bool RfbSession::readRectangle()
{
    if (!has(kRectangleHeaderBytes))
        return false;
    const QRect area(peek16(0), peek16(2), peek16(4), peek16(6));
    if (peek32(8) == kDesktopSize) {
        take(kRectangleHeaderBytes);
        return resize(area.size()) && endRectangle();
    }
    if (peek32(8) != kRawEncoding)
        return fail(QStringLiteral("unknown encoding %1").arg(peek32(8)));
    if (!m_picture.rect().contains(area) && !area.isEmpty())
        return fail(QStringLiteral("an update outside the screen"));
    const int pixels_bytes = area.width() * area.height() * kPixelBytes;
    if (!has(kRectangleHeaderBytes + pixels_bytes))
        return false;
    take(kRectangleHeaderBytes);
    for (int y = area.top(); y <= area.bottom(); ++y)
        qFromLittleEndian<quint32>(take(area.width() * kPixelBytes), area.width(),
                                   reinterpret_cast<QRgb*>(m_picture.scanLine(y)) + area.left());
    return endRectangle();
}

bool RfbSession::endRectangle()
{
    if (--m_rectangles_left == 0) {
        m_expecting = Expecting::Message;
        m_update_painted = true;
    }
    return true;
}

/// 32 bits a pixel, blue in the lowest byte: the layout of the picture's own pixels.
void RfbSession::sendPixelFormatAndEncoding()
{
    m_output += SetPixelFormat;
    m_output.append(3, '\0');
    const std::array<char, 4> bits_depth_little_endian_true_colour{32, 24, 0, 1};
    m_output.append(bits_depth_little_endian_true_colour.data(), 4);
    for (int colour = 0; colour < 3; ++colour)
        append16(m_output, 255);
    const std::array<char, 6> shifts_and_padding{16, 8, 0, 0, 0, 0};
    m_output.append(shifts_and_padding.data(), 6);
    m_output += SetEncodings;
    m_output += '\0';
    append16(m_output, 2);
    for (const quint32 encoding : {kRawEncoding, kDesktopSize}) {
        append16(m_output, static_cast<int>(encoding >> 16));
        append16(m_output, static_cast<int>(encoding));
    }
}

bool RfbSession::fail(const QString& error)
{
    m_error = error;
    return false;
}

const char* RfbSession::take(int length_bytes)
{
    return m_input.constData() + std::exchange(m_consumed, m_consumed + length_bytes);
}

quint16 RfbSession::peek16(int offset_bytes) const
{
    return qFromBigEndian<quint16>(m_input.constData() + m_consumed + offset_bytes);
}

quint32 RfbSession::peek32(int offset_bytes) const
{
    return qFromBigEndian<quint32>(m_input.constData() + m_consumed + offset_bytes);
}
