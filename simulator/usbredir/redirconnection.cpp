#include "usbredir/redirconnection.h"

#include "usbredir/redirlayout.h"

#include <QtEndian>

#include <algorithm>
#include <array>

namespace {

constexpr int kSetupBytes = 8;
constexpr quint8 kDeviceToHost = 0x80;
constexpr quint8 kOnlyAlternative = 0; // of every interface

usb_redir_device_connect_header connectHeader(const UsbDescription& description)
{
    usb_redir_device_connect_header header{};
    header.speed =
        description.megabits_per_second > 12 ? usb_redir_speed_high : usb_redir_speed_full;
    header.device_class = description.deviceByte(4);
    header.device_subclass = description.deviceByte(5);
    header.device_protocol = description.deviceByte(6);
    header.vendor_id = description.vendorId();
    header.product_id = description.productId();
    header.device_version_bcd = description.release();
    return header;
}

QByteArray setupPacket(const usb_redir_control_packet_header& header)
{
    QByteArray setup(kSetupBytes, '\0');
    setup[0] = char(header.requesttype);
    setup[1] = char(header.request);
    qToLittleEndian(header.value, setup.data() + 2);
    qToLittleEndian(header.index, setup.data() + 4);
    qToLittleEndian(header.length, setup.data() + 6);
    return setup;
}

int lengthBytes(const usb_redir_bulk_packet_header& header)
{
    return int(quint32(header.length_high) << 16 | header.length);
}

void setLength(usb_redir_bulk_packet_header& header, int length_bytes)
{
    header.length = quint16(length_bytes);
    header.length_high = quint16(length_bytes >> 16);
}

/// The parser takes no pointer to no bytes.
uint8_t* bytesOf(QByteArray& data)
{
    return data.isEmpty() ? nullptr : reinterpret_cast<uint8_t*>(data.data());
}

} // namespace

/// What the parser calls, with the connection as `self`. A packet's data becomes the callee's.
struct RedirConnection::Callbacks
{
    static RedirConnection& of(void* self) { return *static_cast<RedirConnection*>(self); }

    static QByteArray take(void* self, uint8_t* data, int length_bytes)
    {
        QByteArray bytes(reinterpret_cast<const char*>(data), length_bytes);
        usbredirparser_free_packet_data(of(self).m_parser.get(), data);
        return bytes;
    }

    /// No function here has anything to say on its interrupt endpoint.
    static void answerInterrupts(void* self, uint64_t id, uint8_t endpoint)
    {
        usb_redir_interrupt_receiving_status_header status{usb_redir_success, endpoint};
        usbredirparser_send_interrupt_receiving_status(of(self).m_parser.get(), id, &status);
    }

    static void installLine(usbredirparser& parser)
    {
        parser.log_func = [](void*, int level, const char* message) {
            if (level <= usbredirparser_warning)
                qWarning("USB redirection: %s", message);
        };
        // 0: nothing more for now.
        parser.read_func = [](void* self, uint8_t* out, int length_bytes) {
            return int(of(self).m_socket->read(reinterpret_cast<char*>(out), length_bytes));
        };
        parser.write_func = [](void* self, uint8_t* data, int length_bytes) {
            return int(of(self).m_socket->write(reinterpret_cast<const char*>(data), length_bytes));
        };
        parser.hello_func = [](void* self, usb_redir_hello_header*) {
            of(self).m_greeted = true;
            of(self).announce();
        };
    }

    static void installRequests(usbredirparser& parser)
    {
        parser.reset_func = [](void* self) { of(self).reset(); };
        parser.set_configuration_func = [](void* self, uint64_t id, auto* header) {
            of(self).setConfiguration(id, header->configuration);
        };
        parser.get_configuration_func = [](void* self, uint64_t id) {
            of(self).tellConfiguration(id, usb_redir_success);
        };
        parser.set_alt_setting_func = [](void* self, uint64_t id, auto* header) {
            of(self).tellAltSetting(id, header->interface, header->alt);
        };
        parser.get_alt_setting_func = [](void* self, uint64_t id, auto* header) {
            of(self).tellAltSetting(id, header->interface, kOnlyAlternative);
        };
        parser.start_interrupt_receiving_func = [](void* self, uint64_t id, auto* header) {
            answerInterrupts(self, id, header->endpoint);
        };
        parser.stop_interrupt_receiving_func = [](void* self, uint64_t id, auto* header) {
            answerInterrupts(self, id, header->endpoint);
        };
        parser.cancel_data_packet_func = [](void* self, uint64_t id) { of(self).cancel(id); };
        parser.control_packet_func = [](void* self, uint64_t id, auto* header, uint8_t* data,
                                        int length_bytes) {
            of(self).control(id, *header, take(self, data, length_bytes));
        };
        parser.bulk_packet_func = [](void* self, uint64_t id, auto* header, uint8_t* data,
                                     int length_bytes) {
            of(self).bulk(id, *header, take(self, data, length_bytes));
        };
    }
};

RedirConnection::RedirConnection(QLocalSocket* socket)
    : m_parser(usbredirparser_create())
    , m_socket(socket)
{
    Q_CHECK_PTR(m_parser);
    m_socket->setParent(nullptr);
    m_due.setSingleShot(true);
    m_due.setTimerType(Qt::PreciseTimer);
    connect(&m_due, &QTimer::timeout, this, &RedirConnection::advance);
    connect(m_socket.get(), &QLocalSocket::readyRead, this, &RedirConnection::readSocket);
    connect(m_socket.get(), &QLocalSocket::disconnected, this, &RedirConnection::disconnected);

    m_parser->priv = this;
    Callbacks::installLine(*m_parser);
    Callbacks::installRequests(*m_parser);
    std::array<uint32_t, USB_REDIR_CAPS_SIZE> capabilities{};
    for (const int capability :
         {usb_redir_cap_connect_device_version, usb_redir_cap_ep_info_max_packet_size,
          usb_redir_cap_32bits_bulk_length})
        usbredirparser_caps_set_cap(capabilities.data(), capability);
    usbredirparser_init(m_parser.get(), "Corvane bench", capabilities.data(), USB_REDIR_CAPS_SIZE,
                        usbredirparser_fl_usb_host);
    flush();
}

/// The socket tells of its end, and by then the rest is gone.
RedirConnection::~RedirConnection()
{
    m_socket->disconnect(this);
}

void RedirConnection::plug(const UsbFunction& function)
{
    m_function = &function;
    m_pacer = Pacer(function.pod ? function.pod->settings().bytes_per_second : 0);
    announce();
    flush();
}

void RedirConnection::unplug()
{
    m_function = nullptr;
    m_configuration.reset();
    m_reads.clear();
    m_due.stop();
    if (std::exchange(m_announced, false))
        usbredirparser_send_device_disconnect(m_parser.get());
    flush();
}

void RedirConnection::readSocket()
{
    while (m_socket->bytesAvailable() > 0) {
        if (usbredirparser_do_read(m_parser.get()) == usbredirparser_read_io_error) {
            m_socket->abort();
            return;
        }
    }
    flush();
}

void RedirConnection::flush()
{
    usbredirparser_do_write(m_parser.get());
}

void RedirConnection::announce()
{
    if (m_function == nullptr || !m_greeted || m_announced)
        return;
    m_announced = true;
    RedirLayout layout = redirLayout(m_function->description.configuration);
    usb_redir_device_connect_header connect = connectHeader(m_function->description);
    usbredirparser_send_interface_info(m_parser.get(), &layout.interfaces);
    usbredirparser_send_ep_info(m_parser.get(), &layout.endpoints);
    usbredirparser_send_device_connect(m_parser.get(), &connect);
}

void RedirConnection::reset()
{
    m_reads.clear();
    if (m_announced)
        m_configuration = 0;
}

void RedirConnection::setConfiguration(quint64 id, quint8 configuration)
{
    if (!m_configuration)
        return;
    const bool known =
        configuration == 0 || configuration == m_function->description.configurationValue();
    if (known)
        m_configuration = configuration;
    tellConfiguration(id, known ? usb_redir_success : usb_redir_stall);
}

void RedirConnection::tellConfiguration(quint64 id, quint8 status)
{
    if (!m_configuration)
        return;
    usb_redir_configuration_status_header header{status, *m_configuration};
    usbredirparser_send_configuration_status(m_parser.get(), id, &header);
}

void RedirConnection::tellAltSetting(quint64 id, quint8 interface, quint8 alternative)
{
    if (!m_configuration)
        return;
    const bool known =
        interface < m_function->description.interfaces() && alternative == kOnlyAlternative;
    usb_redir_alt_setting_status_header header{quint8(known ? usb_redir_success : usb_redir_stall),
                                               interface, kOnlyAlternative};
    usbredirparser_send_alt_setting_status(m_parser.get(), id, &header);
}

void RedirConnection::control(quint64 id, usb_redir_control_packet_header header,
                              const QByteArray& data)
{
    if (!m_configuration)
        return;
    std::optional<QByteArray> answer = m_function->control(setupPacket(header), data);
    header.status = answer ? usb_redir_success : usb_redir_stall;
    if ((header.requesttype & kDeviceToHost) == 0) {
        header.length = answer ? header.length : 0;
        answer = QByteArray();
    } else {
        answer = answer.value_or(QByteArray()).left(header.length);
        header.length = quint16(answer->size());
    }
    usbredirparser_send_control_packet(m_parser.get(), id, &header, bytesOf(*answer),
                                       answer->size());
}

void RedirConnection::bulk(quint64 id, const usb_redir_bulk_packet_header& header,
                           const QByteArray& data)
{
    if (!m_configuration)
        return;
    if (m_function->description.endpointType(header.endpoint) != UsbDescription::kBulk)
        return answerBulk(id, header, usb_redir_inval, 0);
    if ((header.endpoint & kDeviceToHost) != 0) {
        m_reads.push_back({id, header, lengthBytes(header), {}});
    } else {
        m_pacer.idleUntil(std::chrono::steady_clock::now());
        m_function->pod->receive(data);
        answerBulk(id, header, usb_redir_success, data.size());
    }
    advance();
}

void RedirConnection::cancel(quint64 id)
{
    const auto found = std::find_if(m_reads.begin(), m_reads.end(),
                                    [id](const Read& read) { return read.id == id; });
    if (found == m_reads.end())
        return; // its answer is on the way
    answerBulk(id, found->header, usb_redir_cancelled, 0);
    m_reads.erase(found);
}

/// Answers every read whose bytes have passed by now.
void RedirConnection::advance()
{
    const auto now = std::chrono::steady_clock::now();
    const auto passed = [&](Read& read) {
        return m_pacer.passed(read.passage, m_function->pod->nextTransferBytes(read.length_bytes),
                              now);
    };
    while (!m_reads.empty() && passed(m_reads.front())) {
        complete(m_reads.front());
        m_reads.pop_front();
    }
    if (!m_reads.empty() && m_reads.front().passage.due)
        m_due.start(
            std::chrono::ceil<std::chrono::milliseconds>(*m_reads.front().passage.due - now));
    flush();
}

void RedirConnection::complete(const Read& read)
{
    PodModel& pod = *m_function->pod;
    QByteArray data(pod.nextTransferBytes(read.length_bytes), Qt::Uninitialized);
    pod.send(data.data(), data.size());
    if (pod.leftInTransfer())
        return;
    answerBulk(read.id, read.header, usb_redir_success, data.size(), data);
}

void RedirConnection::answerBulk(quint64 id, usb_redir_bulk_packet_header header, quint8 status,
                                 int length_bytes, QByteArray data)
{
    header.status = status;
    setLength(header, length_bytes);
    usbredirparser_send_bulk_packet(m_parser.get(), id, &header, bytesOf(data), data.size());
}
