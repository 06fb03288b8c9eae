#pragma once

#include <QByteArray>
#include <QDataStream>
#include <QImage>
#include <QPoint>
#include <QString>

#include <utility>

/// The viewer's side of the remote framebuffer protocol 3.3 (raw encoding, 32 bits a pixel, no
/// password, changes of size): bytes in, bytes out, and the picture that they paint. Reentrant,
/// owns no connection. After a breach of the protocol failed() holds and error() says which;
/// nothing is painted then.
class RfbSession
{
public:
    /// Takes what the server sent, in pieces of any size. True when a whole update was painted.
    bool receive(const QByteArray& from_server);
    /// What has to be sent to the server by now.
    QByteArray takeOutput() { return std::exchange(m_output, QByteArray()); }

    void requestUpdate(bool only_changes);
    void pointer(QPoint at, bool pressed);
    /// Sends an empty text. It tells the server that its viewer is there, and changes nothing.
    void showPresence();

    bool established() const { return m_established; }
    bool failed() const { return !m_error.isEmpty(); }
    QString error() const { return m_error; }
    const QImage& picture() const { return m_picture; }

private:
    using Reader = void (RfbSession::*)(QDataStream& in);

    bool step();
    // Each takes what it reads, or nothing as long as that is not whole.
    void readVersion(QDataStream& in);
    void readSecurity(QDataStream& in);
    void readScreen(QDataStream& in);
    void readMessage(QDataStream& in);
    void readRectangle(QDataStream& in);

    static void skipText(QDataStream& in);
    void resize(QSize size);
    void expectRectangles(int count);
    void paint(QDataStream& in, const QRect& area);
    void sendPixelFormatAndEncoding();
    QDataStream output() { return {&m_output, QIODevice::Append}; }
    void fail(const QString& error) { m_error = error; }

    Reader m_read_next = &RfbSession::readVersion;
    QByteArray m_input;
    QByteArray m_output;
    QImage m_picture;
    QString m_error;
    int m_rectangles_left = 0;
    bool m_established = false;
    bool m_update_painted = false;
};
