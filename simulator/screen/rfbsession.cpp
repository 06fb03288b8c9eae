#include "screen/rfbsession.h"

#include <QDataStream>
#include <QtEndian>

namespace {

constexpr int kVersionBytes = 12;
constexpr int kPixelFormatBytes = 16;
constexpr int kPixelBytes = 4;
constexpr int kLargestSidePx = 8192;
constexpr quint32 kNoPassword = 1;
constexpr quint32 kRawEncoding = 0;
/// No pixels, but the size that the screen has from now on.
constexpr quint32 kDesktopSize = 0xFFFFFF21; // -223

enum ServerMessage : quint8 { FramebufferUpdate = 0, Bell = 2, CutText = 3 };
enum ClientMessage : quint8 {
    SetPixelFormat = 0,
    SetEncodings = 2,
    UpdateRequest = 3,
    PointerEvent = 5,
    ClientCutText = 6
};

bool isWhole(const QDataStream& in)
{
    return in.status() == QDataStream::Ok;
}

QByteArray take(QDataStream& in, int length_bytes)
{
    QByteArray bytes(length_bytes, Qt::Uninitialized);
    in.readRawData(bytes.data(), length_bytes);
    return bytes;
}

} // namespace

bool RfbSession::receive(const QByteArray& from_server)
{
    m_input += from_server;
    m_update_painted = false;
    while (!failed() && step()) {
    }
    return m_update_painted && !failed();
}

void RfbSession::requestUpdate(bool only_changes)
{
    output() << quint8(UpdateRequest) << only_changes << quint32(0) << quint16(m_picture.width())
             << quint16(m_picture.height());
}

void RfbSession::pointer(QPoint at, bool pressed)
{
    output() << quint8(PointerEvent) << pressed << quint16(at.x()) << quint16(at.y());
}

void RfbSession::showPresence()
{
    output() << quint32(ClientCutText << 24) << quint32(0); // padding and length
}

/// What is not whole yet is read again when there is more of it.
bool RfbSession::step()
{
    QDataStream in(m_input);
    (this->*m_read_next)(in);
    if (!isWhole(in))
        return false;
    m_input.remove(0, int(in.device()->pos()));
    return true;
}

void RfbSession::readVersion(QDataStream& in)
{
    const QByteArray version = take(in, kVersionBytes);
    if (!isWhole(in))
        return;
    if (!version.startsWith("RFB 003."))
        return fail(QStringLiteral("no framebuffer server: it greets with '%1'")
                        .arg(QString::fromLatin1(version.trimmed())));
    m_output += "RFB 003.003\n";
    m_read_next = &RfbSession::readSecurity;
}

void RfbSession::readSecurity(QDataStream& in)
{
    quint32 kind = 0;
    in >> kind;
    if (!isWhole(in))
        return;
    if (kind != kNoPassword)
        return fail(QStringLiteral("the screen asks for security type %1").arg(kind));
    m_output += '\1'; // shared: a person may watch at the same time
    m_read_next = &RfbSession::readScreen;
}

void RfbSession::readScreen(QDataStream& in)
{
    quint16 width = 0;
    quint16 height = 0;
    in >> width >> height;
    in.skipRawData(kPixelFormatBytes);
    skipText(in);
    if (!isWhole(in))
        return;
    resize({width, height});
    if (failed())
        return;
    m_established = true;
    sendPixelFormatAndEncoding();
    requestUpdate(false);
    m_read_next = &RfbSession::readMessage;
}

void RfbSession::skipText(QDataStream& in)
{
    quint32 length_bytes = 0;
    in >> length_bytes;
    in.skipRawData(int(qMin<quint32>(length_bytes, kLargestSidePx)));
}

void RfbSession::resize(QSize size)
{
    if (size.isEmpty() || size.width() > kLargestSidePx || size.height() > kLargestSidePx)
        return fail(QStringLiteral("a screen of %1 by %2").arg(size.width()).arg(size.height()));
    m_picture = QImage(size, QImage::Format_RGB32);
    m_picture.fill(Qt::black);
}

void RfbSession::readMessage(QDataStream& in)
{
    quint8 kind = 0;
    in >> kind;
    if (kind == CutText) {
        in.skipRawData(3);
        skipText(in);
    } else if (isWhole(in) && kind == FramebufferUpdate) {
        quint16 rectangles = 0;
        in.skipRawData(1);
        in >> rectangles;
        if (isWhole(in))
            expectRectangles(rectangles);
    } else if (isWhole(in) && kind != Bell) {
        fail(QStringLiteral("unknown message %1").arg(kind));
    }
}

void RfbSession::expectRectangles(int count)
{
    m_rectangles_left = count;
    m_update_painted = count == 0;
    m_read_next = count == 0 ? &RfbSession::readMessage : &RfbSession::readRectangle;
}

void RfbSession::readRectangle(QDataStream& in)
{
    quint16 x = 0;
    quint16 y = 0;
    quint16 width = 0;
    quint16 height = 0;
    quint32 encoding = 0;
    in >> x >> y >> width >> height >> encoding;
    if (!isWhole(in))
        return;
    if (encoding == kDesktopSize)
        resize({width, height});
    else if (encoding != kRawEncoding)
        fail(QStringLiteral("unknown encoding %1").arg(encoding));
    else
        paint(in, {x, y, width, height});
    if (isWhole(in) && !failed())
        expectRectangles(m_rectangles_left - 1);
}

void RfbSession::paint(QDataStream& in, const QRect& area)
{
    if (!m_picture.rect().contains(area) && !area.isEmpty())
        return fail(QStringLiteral("an update outside the screen"));
    const int line_bytes = area.width() * kPixelBytes;
    const QByteArray pixels = take(in, area.height() * line_bytes);
    for (int y = 0; isWhole(in) && y < area.height(); ++y)
        qFromLittleEndian<quint32>(pixels.constData() + qsizetype(y) * line_bytes, area.width(),
                                   reinterpret_cast<QRgb*>(m_picture.scanLine(area.top() + y)) +
                                       area.left());
}

/// 32 bits a pixel, blue in the lowest byte: the layout of the picture's own pixels.
void RfbSession::sendPixelFormatAndEncoding()
{
    const auto bits = quint8(8 * kPixelBytes);
    constexpr quint8 kDepth = 24;
    constexpr quint16 kMostOfAColour = 255;
    output() << quint32(SetPixelFormat << 24) << bits << kDepth << false << true << kMostOfAColour
             << kMostOfAColour << kMostOfAColour << quint8(16) << quint8(8) << quint8(0)
             << quint8(0) << quint16(0) << quint16(SetEncodings << 8) << quint16(2) << kRawEncoding
             << kDesktopSize;
}
