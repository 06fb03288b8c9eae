#pragma once

#include "common/pacer.h"
#include "usbredir/usbfunction.h"

#include <QLocalSocket>
#include <QObject>
#include <QTimer>

#include <list>
#include <memory>
#include <optional>
#include <usbredirparser.h>

/// One port of a machine's USB controller, for as long as the machine runs: brings the function
/// that is plugged in to the machine, as the host's side of the USB redirection protocol 0.7. Lives
/// on its port's thread, owned by the port. A machine that goes away is disconnected().
class RedirConnection : public QObject
{
    Q_OBJECT

public:
    /// Takes the socket over.
    explicit RedirConnection(QLocalSocket* socket);
    Q_DISABLE_COPY_MOVE(RedirConnection)
    ~RedirConnection() override;

    /// The function must stay until it is unplugged.
    void plug(const UsbFunction& function);
    void unplug();

signals:
    void disconnected();

private:
    struct Callbacks; ///< from the parser
    struct ParserDeleter
    {
        void operator()(usbredirparser* parser) const { usbredirparser_destroy(parser); }
    };
    /// A bulk read that waits for data, or for its bytes to pass.
    struct Read
    {
        quint64 id = 0;
        usb_redir_bulk_packet_header header{};
        int length_bytes = 0;
        Passage passage;
    };

    void readSocket();
    void flush();
    void announce();
    void reset();
    void setConfiguration(quint64 id, quint8 configuration);
    void tellConfiguration(quint64 id, quint8 status);
    void tellAltSetting(quint64 id, quint8 interface, quint8 alternative);
    void control(quint64 id, usb_redir_control_packet_header header, const QByteArray& data);
    void bulk(quint64 id, const usb_redir_bulk_packet_header& header, const QByteArray& data);
    void cancel(quint64 id);
    void advance();
    void complete(const Read& read);
    void answerBulk(quint64 id, usb_redir_bulk_packet_header header, quint8 status,
                    int length_bytes, QByteArray data = {});

    std::unique_ptr<usbredirparser, ParserDeleter> m_parser;
    std::unique_ptr<QLocalSocket> m_socket;
    const UsbFunction* m_function = nullptr;
    Pacer m_pacer{0};
    std::list<Read> m_reads; ///< in the order in which they came, the first one moving
    QTimer m_due;
    bool m_greeted = false;   ///< the machine has said what it can do
    bool m_announced = false; ///< the machine knows of the function
    /// The function's; none until the machine has reset it, as it does with every new device. What
    /// comes before that was meant for the one that was plugged in earlier.
    std::optional<quint8> m_configuration;
};
