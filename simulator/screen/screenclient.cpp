#include "screen/screenclient.h"

#include <chrono>

namespace {
// Slow enough to cost the station nothing that counts, fast enough for a person's eye.
constexpr std::chrono::milliseconds kBetweenPictures{100};
constexpr std::chrono::milliseconds kBetweenTries{100};
// A machine looks ever less often at a screen on which nothing moves, and would miss a short
// picture.
constexpr std::chrono::milliseconds kBetweenSigns{200};
} // namespace

ScreenClient::ScreenClient(QObject* parent)
    : QObject(parent)
{
    m_retry.setSingleShot(true);
    m_retry.setInterval(kBetweenTries);
    m_next_request.setSingleShot(true);
    m_next_request.setInterval(kBetweenPictures);
    m_next_sign.setInterval(kBetweenSigns);
    connect(&m_next_sign, &QTimer::timeout, this, [this] {
        m_session.showPresence();
        sendOutput();
    });
    connect(&m_retry, &QTimer::timeout, this, &ScreenClient::connectAgain);
    connect(&m_next_request, &QTimer::timeout, this, &ScreenClient::askForChanges);
    connect(&m_socket, &QLocalSocket::readyRead, this, &ScreenClient::readServer);
    connect(&m_socket, &QLocalSocket::stateChanged, this,
            [this](QLocalSocket::LocalSocketState state) {
                m_next_sign.stop();
                if (state == QLocalSocket::UnconnectedState && !m_socket_path.isEmpty())
                    m_retry.start();
            });
}

/// The socket tells of its end, and by then the timers are gone.
ScreenClient::~ScreenClient()
{
    stop();
}

void ScreenClient::start(const QString& socket_path)
{
    stop();
    m_socket_path = socket_path;
    connectAgain();
}

void ScreenClient::stop()
{
    m_socket_path.clear();
    m_retry.stop();
    m_next_request.stop();
    m_socket.abort();
    m_picture = QImage();
}

void ScreenClient::touch(QPoint at)
{
    m_session.pointer(at, true);
    m_session.pointer(at, false);
    sendOutput();
}

void ScreenClient::connectAgain()
{
    m_session = RfbSession();
    m_picture = QImage();
    m_socket.connectToServer(m_socket_path);
}

void ScreenClient::readServer()
{
    const bool painted = m_session.receive(m_socket.readAll());
    sendOutput();
    if (m_session.failed()) {
        qWarning("The station's screen: %s", qUtf8Printable(m_session.error()));
        m_socket.abort();
    } else if (painted) {
        m_picture = m_session.picture();
        m_next_request.start();
        if (!m_next_sign.isActive())
            m_next_sign.start();
        emit changed();
    }
}

void ScreenClient::sendOutput()
{
    m_socket.write(m_session.takeOutput());
}

void ScreenClient::askForChanges()
{
    m_session.requestUpdate(true);
    sendOutput();
}
