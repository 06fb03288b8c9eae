#pragma once

#include <QByteArray>
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
    /// An empty text, of which a server sees that its viewer is there, and nobody else anything.
    void showPresence();

    bool established() const { return m_established; }
    bool failed() const { return !m_error.isEmpty(); }
    QString error() const { return m_error; }
    const QImage& picture() const { return m_picture; }

private:
    enum class Expecting { Version, Security, Screen, ScreenName, Message, Rectangle, Text };

    bool step();
    bool readVersion();
    bool readSecurity();
    bool readScreen();
    bool readMessage();
    bool readUpdateHeader();
    bool readRectangle();
    bool readText();
    bool resize(QSize size);
    bool endRectangle();

    void sendPixelFormatAndEncoding();
    bool fail(const QString& error);
    bool has(int length_bytes) const { return m_input.size() - m_consumed >= length_bytes; }
    const char* take(int length_bytes);
    quint16 peek16(int offset_bytes) const;
    quint32 peek32(int offset_bytes) const;

    Expecting m_expecting = Expecting::Version;
    QByteArray m_input;
    int m_consumed = 0;
    QByteArray m_output;
    QImage m_picture;
    QString m_error;
    int m_rectangles_left = 0;
    int m_text_left_bytes = 0;
    bool m_established = false;
    bool m_update_painted = false;
};
