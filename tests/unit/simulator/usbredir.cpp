#include "bus/memorychip.h"
#include "usbredir/i2cadapter.h"
#include "usbredir/podports.h"

#include <QLocalSocket>
#include <QTemporaryDir>
#include <QtTest>

#include <array>
#include <functional>
#include <memory>
#include <usbredirparser.h>

namespace {

constexpr quint8 kIn = 0x81;
constexpr quint8 kOut = 0x01;

PodSettings smallPod()
{
    PodSettings settings;
    settings.udid = QByteArray::fromHex("0123456789ABCDEF");
    settings.size_bytes = 100'000;
    settings.bytes_per_second = 0;
    return settings;
}

/// The machine's side of one port: the same library that QEMU uses, and what has come so far.
class Machine
{
public:
    explicit Machine(const QString& socket_path)
        : m_parser(usbredirparser_create(), usbredirparser_destroy)
    {
        m_parser->priv = this;
        m_parser->log_func = [](void*, int level, const char* text) {
            if (level <= usbredirparser_warning)
                QFAIL(text);
        };
        m_parser->read_func = [](void* self, uint8_t* out, int length_bytes) {
            return int(of(self).m_socket.read(reinterpret_cast<char*>(out), length_bytes));
        };
        m_parser->write_func = [](void* self, uint8_t* data, int length_bytes) {
            return int(of(self).m_socket.write(reinterpret_cast<char*>(data), length_bytes));
        };
        m_parser->hello_func = [](void*, usb_redir_hello_header*) {};
        m_parser->interface_info_func = [](void*, usb_redir_interface_info_header*) {};
        m_parser->ep_info_func = [](void*, usb_redir_ep_info_header*) {};
        // As a kernel does with every new device.
        m_parser->device_connect_func = [](void* self, usb_redir_device_connect_header* header) {
            of(self).connected = header->product_id;
            ++of(self).connections;
            of(self).reset();
        };
        m_parser->device_disconnect_func = [](void* self) { of(self).connected = 0; };
        m_parser->control_packet_func = [](void* self, uint64_t, auto* header, uint8_t* data,
                                           int length_bytes) {
            of(self).note(header->status, data, length_bytes);
        };
        m_parser->configuration_status_func = [](void* self, uint64_t, auto* header) {
            of(self).noteSetting(header->status, header->configuration);
        };
        m_parser->alt_setting_status_func = [](void* self, uint64_t, auto* header) {
            of(self).noteSetting(header->status, header->alt);
        };
        m_parser->bulk_packet_func = [](void* self, uint64_t id, auto* header, uint8_t* data,
                                        int length_bytes) {
            of(self).last_id = id;
            of(self).note(header->status, data, length_bytes);
        };
        std::array<uint32_t, USB_REDIR_CAPS_SIZE> capabilities{};
        for (const int capability :
             {usb_redir_cap_connect_device_version, usb_redir_cap_ep_info_max_packet_size,
              usb_redir_cap_64bits_ids, usb_redir_cap_32bits_bulk_length})
            usbredirparser_caps_set_cap(capabilities.data(), capability);
        usbredirparser_init(m_parser.get(), "test", capabilities.data(), USB_REDIR_CAPS_SIZE, 0);
        QObject::connect(&m_socket, &QLocalSocket::readyRead, &m_socket,
                         [this] { usbredirparser_do_read(m_parser.get()); });
        m_socket.connectToServer(socket_path);
        flush();
    }

    void write(quint64 id, char command, quint8 endpoint = kOut)
    {
        usb_redir_bulk_packet_header header{endpoint, 0, 1, 0, 0};
        usbredirparser_send_bulk_packet(m_parser.get(), id, &header,
                                        reinterpret_cast<uint8_t*>(&command), 1);
        flush();
    }

    void read(quint64 id, int length_bytes, quint8 endpoint = kIn)
    {
        usb_redir_bulk_packet_header header{endpoint, 0, quint16(length_bytes), 0,
                                            quint16(length_bytes >> 16)};
        usbredirparser_send_bulk_packet(m_parser.get(), id, &header, nullptr, 0);
        flush();
    }

    /// Without data of its own.
    void control(quint8 type, quint8 request, quint16 value, quint16 index, quint16 length_bytes)
    {
        usb_redir_control_packet_header header{quint8(type & kIn), request, type, 0, value, index,
                                               length_bytes};
        usbredirparser_send_control_packet(m_parser.get(), 0, &header, nullptr, 0);
        flush();
    }

    void setConfiguration(quint8 value)
    {
        usb_redir_set_configuration_header header{value};
        usbredirparser_send_set_configuration(m_parser.get(), 0, &header);
        flush();
    }

    void getConfiguration()
    {
        usbredirparser_send_get_configuration(m_parser.get(), 0);
        flush();
    }

    void setAltSetting(quint8 interface, quint8 alternative)
    {
        usb_redir_set_alt_setting_header header{interface, alternative};
        usbredirparser_send_set_alt_setting(m_parser.get(), 0, &header);
        flush();
    }

    void reset()
    {
        usbredirparser_send_reset(m_parser.get());
        flush();
    }

    void cancel(quint64 id)
    {
        usbredirparser_send_cancel_data_packet(m_parser.get(), id);
        flush();
    }

    int connected = 0; ///< product number, or 0
    int connections = 0;
    quint64 last_id = 0;
    int answers = 0;
    int status = -1;    ///< of the last answer
    QByteArray content; ///< of the last answer

private:
    static Machine& of(void* self) { return *static_cast<Machine*>(self); }

    void flush() { usbredirparser_do_write(m_parser.get()); }

    void noteSetting(int new_status, quint8 value)
    {
        status = new_status;
        content = QByteArray(1, char(value));
        ++answers;
    }

    void note(int new_status, uint8_t* bytes, int length_bytes)
    {
        status = new_status;
        content = QByteArray(reinterpret_cast<char*>(bytes), length_bytes);
        ++answers;
        usbredirparser_free_packet_data(m_parser.get(), bytes);
    }

    std::unique_ptr<usbredirparser, decltype(&usbredirparser_destroy)> m_parser;
    QLocalSocket m_socket;
};

} // namespace

/// The redirected devices, as a machine that runs the same protocol library sees them.
class SimulatorUsbRedir : public QObject
{
    Q_OBJECT

private slots:
    void adapterReachesTheChip();
    void readWaitsForDataOrIsCancelled();
    void pulledPodAnswersNothingMore();
    void whatWasMeantForTheLastPodReachesNoOther();
    void answersRequests_data();
    void answersRequests();

private:
    QTemporaryDir m_folder;
};

void SimulatorUsbRedir::adapterReachesTheChip()
{
    I2cAdapter adapter;
    const auto request = [&](const char* setup, const char* data = "") {
        return adapter.control(QByteArray::fromHex(setup), QByteArray::fromHex(data));
    };
    const auto status = [&] { return request("C103000000000100"); };
    QVERIFY(request("4104000050000100", "FA")); // a write that begins a transaction, to nobody
    QCOMPARE(*status(), QByteArray(1, '\2'));
    QVERIFY(request("4105000051000100", "FA"));
    QCOMPARE(*status(), QByteArray(1, '\1'));
    QCOMPARE(*request("C106010051000600"), MemoryChip::defaultEui48());
    QVERIFY(!request("C1FF000000000100"));
    QCOMPARE(adapter.control(QByteArray::fromHex("8006000100001200"), {})->mid(8, 4),
             QByteArray::fromHex("030431C6"));
}

void SimulatorUsbRedir::readWaitsForDataOrIsCancelled()
{
    PodPorts ports(m_folder.path());
    ports.plug(0, smallPod());
    Machine machine(m_folder.filePath(PodPorts::socketName(0)));
    QTRY_COMPARE(machine.connected, 0x5203);

    machine.read(1, 64);
    machine.read(2, 64);
    machine.cancel(1);
    QTRY_COMPARE(machine.last_id, quint64(1));
    QCOMPARE(machine.status, int(usb_redir_cancelled));
    machine.write(3, 0x11);
    QTRY_COMPARE(machine.answers, 3); // the cancelled read, the one that waited, the write
    machine.read(4, 64);
    QTRY_COMPARE(machine.last_id, quint64(4));
    QCOMPARE(machine.content, smallPod().udid);

    machine.write(5, 0x31);
    machine.read(6, 1);
    machine.read(7, 4);
    machine.read(8, 100'000); // more than 16 bits can say
    QTRY_COMPARE(machine.last_id, quint64(8));
    QCOMPARE(machine.content.size(), 100'000);
}

void SimulatorUsbRedir::pulledPodAnswersNothingMore()
{
    PodSettings leaving = smallPod();
    leaving.fault = PodFault::UnpluggedAtByte;
    leaving.unplug_at_byte = 1000;
    PodPorts ports(m_folder.path());
    QSignalSpy vanished(&ports, &PodPorts::podVanished);
    ports.plug(29, leaving);
    Machine machine(m_folder.filePath(PodPorts::socketName(29)));
    QTRY_COMPARE(machine.connected, 0x5203);
    machine.write(1, 0x31);
    for (const quint64 id : {2, 3, 4})
        machine.read(id, 50'000);
    QTRY_COMPARE(machine.connected, 0);
    QCOMPARE(vanished.count(), 1);
    QVERIFY(!ports.plugged(29));
    QCOMPARE(machine.last_id, quint64(3)); // acknowledgement and size had passed
}

/// Pulled and replaced before the machine's words to it were read.
void SimulatorUsbRedir::whatWasMeantForTheLastPodReachesNoOther()
{
    PodPorts ports(m_folder.path());
    ports.plug(5, smallPod());
    Machine machine(m_folder.filePath(PodPorts::socketName(5)));
    QTRY_COMPARE(machine.connected, 0x5203);
    machine.getConfiguration(); // answered when the reset of the first one has been read
    QTRY_COMPARE(machine.answers, 1);
    machine.control(0x21, 0x22, 3, 0, 0);
    machine.write(1, 0x31);
    machine.write(2, 0x41);
    ports.unplug(5);
    ports.plug(5, smallPod());
    QTRY_COMPARE(machine.connections, 2);
    machine.write(3, 0x11);
    machine.read(4, 64);
    QTRY_COMPARE(machine.last_id, quint64(4));
    QCOMPARE(machine.answers, 3);
    QVERIFY(!ports.report(5).erased);
    QCOMPARE(ports.report(5).readouts_begun, 0);
    QCOMPARE(ports.report(5).line.state, -1);
}

using Ask = std::function<void(Machine&)>;
Q_DECLARE_METATYPE(Ask)

void SimulatorUsbRedir::answersRequests_data()
{
    QTest::addColumn<Ask>("ask");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("content");
    const auto row = [](const char* name, const Ask& ask, int status, const char* content = "") {
        QTest::newRow(name) << ask << status << QByteArray::fromHex(content);
    };
    const auto control = [](quint8 type, quint8 request, quint16 value, quint16 index,
                            quint16 length_bytes) {
        return
            [=](Machine& machine) { machine.control(type, request, value, index, length_bytes); };
    };
    constexpr int kDone = usb_redir_success;
    constexpr int kStall = usb_redir_stall;
    row("descriptor, its beginning", control(0x80, 6, 0x0100, 0, 4), kDone, "12010002");
    row("descriptor that it lacks", control(0x80, 6, 0x0600, 0, 10), kStall);
    row("line state", control(0x21, 0x22, 3, 0, 0), kDone);
    row("unknown write", control(0x40, 1, 0, 0, 0), kStall);
    row("halt of its endpoint", control(0x82, 0, 0, kIn, 2), kDone, "0000");
    row("halt of another", control(0x82, 0, 0, 0x83, 2), kStall);
    row("its halt cleared", control(0x02, 1, 0, kIn, 0), kDone);
    row("another's halt cleared", control(0x02, 1, 0, 0x83, 0), kStall);
    row(
        "configuration", [](Machine& m) { m.setConfiguration(1); }, kDone, "01");
    row(
        "none yet", [](Machine& m) { m.getConfiguration(); }, kDone, "00");
    row(
        "unknown configuration", [](Machine& m) { m.setConfiguration(2); }, kStall, "00");
    row(
        "alternative", [](Machine& m) { m.setAltSetting(1, 0); }, kDone, "00");
    row(
        "unknown alternative", [](Machine& m) { m.setAltSetting(1, 1); }, kStall, "00");
    row(
        "unknown interface", [](Machine& m) { m.setAltSetting(2, 0); }, kStall, "00");
    row(
        "read of no bulk data", [](Machine& m) { m.read(1, 16, 0x82); }, usb_redir_inval);
    row(
        "write to nowhere", [](Machine& m) { m.write(1, 0x41, 0x02); }, usb_redir_inval);
    row(
        "configuration after a reset",
        [](Machine& m) {
            m.setConfiguration(1);
            QTRY_COMPARE(m.answers, 1);
            m.reset();
            m.answers = 0;
            m.getConfiguration();
        },
        kDone, "00");
}

void SimulatorUsbRedir::answersRequests()
{
    QFETCH(Ask, ask);
    QFETCH(int, status);
    QFETCH(QByteArray, content);
    const auto pod = std::make_shared<PodModel>(smallPod());
    RedirPort port(m_folder.filePath(QStringLiteral("port")));
    port.plug(podFunction(pod));
    Machine machine(port.socketPath());
    QTRY_COMPARE(machine.connected, 0x5203);
    ask(machine);
    QTRY_COMPARE(machine.answers, 1);
    QCOMPARE(machine.status, status);
    QCOMPARE(machine.content, content);
    QVERIFY(!pod->report().erased);
}

QTEST_GUILESS_MAIN(SimulatorUsbRedir)
#include "usbredir.moc"
