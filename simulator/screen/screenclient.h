#pragma once

#include "screen/rfbsession.h"

#include <QImage>
#include <QLocalSocket>
#include <QObject>
#include <QTimer>

/// Eyes and finger on the station's screen, through a local socket. Lives on the bench's thread.
/// A screen that is not there yet, or is gone, is tried again until stop(); ready() tells.
class ScreenClient : public QObject
{
    Q_OBJECT

public:
    explicit ScreenClient(QObject* parent = nullptr);
    Q_DISABLE_COPY_MOVE(ScreenClient)
    ~ScreenClient() override;

    void start(const QString& socket_path);
    void stop();

    bool ready() const { return !m_picture.isNull(); }
    /// What the screen shows; null until the first whole picture has come.
    const QImage& picture() const { return m_picture; }
    /// A finger's short touch.
    void touch(QPoint at);

signals:
    void changed();

private:
    void connectAgain();
    void readServer();
    void sendOutput();
    void askForChanges();

    QString m_socket_path;
    QLocalSocket m_socket;
    QTimer m_retry;
    QTimer m_next_request;
    QTimer m_next_sign;
    RfbSession m_session;
    QImage m_picture;
};
