#include "usbfs/usbbus.h"

#include "system/uniquefd.h"
#include "usbfs/serialnumbermemory.h"

#include <QtTest>

#include <libusb.h>
#include <linux/i2c-dev.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/vfs.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <set>
#include <thread>
#include <unistd.h>

namespace {

constexpr int kPodVendor = 0x1915;
constexpr int kPodProduct = 0x5203;
constexpr int kBootloaderProduct = 0x521F;
constexpr unsigned kPatientMs = 10000;

struct ContextExit
{
    void operator()(libusb_context* context) const { libusb_exit(context); }
};
struct HandleClose
{
    void operator()(libusb_device_handle* handle) const { libusb_close(handle); }
};
struct DeviceUnref
{
    void operator()(libusb_device* device) const { libusb_unref_device(device); }
};
using Device = std::unique_ptr<libusb_device, DeviceUnref>;
using Handle = std::unique_ptr<libusb_device_handle, HandleClose>;

int slotOf(libusb_device* device)
{
    std::array<uint8_t, 8> ports{};
    const int depth = libusb_get_port_numbers(device, ports.data(), int(ports.size()));
    return 6 * (6 - depth) + 6 - libusb_get_port_number(device);
}

bool isPod(libusb_device* device, int product)
{
    libusb_device_descriptor descriptor{};
    return libusb_get_device_descriptor(device, &descriptor) == 0 &&
           descriptor.idVendor == kPodVendor && descriptor.idProduct == product;
}

QByteArray udidOf(int slot)
{
    return QByteArray(7, '\xA5') + char(slot);
}

PodSettings podOf(int slot, quint32 size_bytes = 100'000)
{
    PodSettings settings;
    settings.udid = udidOf(slot);
    settings.seed = quint64(slot);
    settings.size_bytes = size_bytes;
    settings.bytes_per_second = 0;
    return settings;
}

PodSettings faultyPodOf(int slot, PodFault fault)
{
    PodSettings settings = podOf(slot);
    settings.fault = fault;
    return settings;
}

int openPod(libusb_device* device, Handle& handle)
{
    libusb_device_handle* opened = nullptr;
    int result = libusb_open(device, &opened);
    handle.reset(opened);
    if (result == 0 && libusb_kernel_driver_active(opened, 0) == 1)
        result = libusb_detach_kernel_driver(opened, 0);
    return result == 0 ? libusb_claim_interface(opened, 0) : result;
}

/// A negative libusb error, or the bytes that one read brought.
struct Answer
{
    int error = 0;
    QByteArray bytes;
};

Answer read(const Handle& handle, int at_most_bytes, unsigned timeout_ms = kPatientMs)
{
    Answer answer{0, QByteArray(at_most_bytes, '\0')};
    int length_bytes = 0;
    answer.error = libusb_bulk_transfer(handle.get(), 0x81,
                                        reinterpret_cast<unsigned char*>(answer.bytes.data()),
                                        at_most_bytes, &length_bytes, timeout_ms);
    answer.bytes.truncate(length_bytes);
    return answer;
}

int command(const Handle& handle, unsigned char byte)
{
    int length_bytes = 0;
    return libusb_bulk_transfer(handle.get(), 0x01, &byte, 1, &length_bytes, kPatientMs);
}

UniqueFd monitorAt(const QByteArray& path)
{
    ::unlink(path.constData());
    UniqueFd fd(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, path.constData(), sizeof(address.sun_path));
    return ::bind(fd.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0
               ? std::move(fd)
               : UniqueFd();
}

} // namespace

class SimulatorUsbBus : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void everyDeviceIsFoundBesideABusyThread();
    void deviceNumbersAreFreshAndWrap();
    void aTimeoutTakesItsRequestBack();
    void unpluggedDuringATransfer();
    void unpluggedWhileRestarting();
    void refusesTheInterface();
    void giveBackWhenAHostCloses();
    void idleHostsAreNotWoken();
    void monitorsOutliveTheirNames();
    void serialNumberMemory();

private:
    Device findPod(int slot, int product = kPodProduct);
    Handle openSlot(int slot);
    void countLeavers();

    std::unique_ptr<UsbBus> m_bus;
    std::unique_ptr<libusb_context, ContextExit> m_context;
    int m_left = 0; ///< pods, since countLeavers()
};

void SimulatorUsbBus::init()
{
    m_left = 0;
    m_bus = std::make_unique<UsbBus>();
    qputenv("UMOCKDEV_DIR", m_bus->testbedDir().toLocal8Bit());
    libusb_context* context = nullptr;
    QCOMPARE(libusb_init(&context), 0);
    m_context.reset(context);
}

void SimulatorUsbBus::cleanup()
{
    m_context.reset();
    m_bus.reset();
}

void SimulatorUsbBus::countLeavers()
{
    const auto callback = [](libusb_context*, libusb_device*, libusb_hotplug_event, void* test) {
        ++static_cast<SimulatorUsbBus*>(test)->m_left;
        return 0;
    };
    QCOMPARE(libusb_hotplug_register_callback(m_context.get(), LIBUSB_HOTPLUG_EVENT_DEVICE_LEFT, 0,
                                              kPodVendor, kPodProduct, LIBUSB_HOTPLUG_MATCH_ANY,
                                              callback, this, nullptr),
             0);
}

/// Waits for the event: libusb learns of a pod on a thread of its own.
Device SimulatorUsbBus::findPod(int slot, int product)
{
    for (;;) {
        libusb_device** list = nullptr;
        const ssize_t count = libusb_get_device_list(m_context.get(), &list);
        Device found;
        for (ssize_t at = 0; at < count; ++at) {
            if (isPod(list[at], product) && slotOf(list[at]) == slot)
                found.reset(libusb_ref_device(list[at]));
        }
        libusb_free_device_list(list, 1);
        if (found)
            return found;
        std::this_thread::yield();
    }
}

Handle SimulatorUsbBus::openSlot(int slot)
{
    Handle handle;
    const int result = openPod(findPod(slot).get(), handle);
    return result == 0 ? std::move(handle) : Handle();
}

/// As the station's is, which reads its fonts while libusb looks for devices.
void SimulatorUsbBus::everyDeviceIsFoundBesideABusyThread()
{
    constexpr int kHubs = 6;
    for (int slot = 0; slot < UsbBus::kSlotCount; ++slot)
        m_bus->plug(slot, podOf(slot));
    std::atomic<bool> done{false};
    std::thread reader([&] {
        const UniqueFd folder(::open("/", O_RDONLY | O_CLOEXEC));
        struct statfs info = {};
        while (!done)
            ::fstatfs(folder.get(), &info);
    });
    std::set<ssize_t> counts;
    for (int start = 0; start < 10; ++start) {
        libusb_context* context = nullptr;
        libusb_init(&context);
        const std::unique_ptr<libusb_context, ContextExit> owner(context);
        libusb_device** list = nullptr;
        counts.insert(libusb_get_device_list(context, &list));
        libusb_free_device_list(list, 1);
    }
    done = true;
    reader.join();
    QCOMPARE(counts, std::set<ssize_t>{kHubs + UsbBus::kSlotCount});
}

void SimulatorUsbBus::deviceNumbersAreFreshAndWrap()
{
    m_bus->plug(0, podOf(0));
    const int stays = libusb_get_device_address(findPod(0).get());
    countLeavers();
    std::set<int> numbers;
    for (int round = 1; round <= 127 - 7; ++round) {
        m_bus->plug(1, podOf(1));
        numbers.insert(libusb_get_device_address(findPod(1).get()));
        m_bus->unplug(1);
        while (m_left < round)
            libusb_handle_events(m_context.get());
    }
    // Six hubs and the pod that stays keep theirs; every other number has been used once.
    QCOMPARE(int(numbers.size()), 127 - 7);
    QVERIFY(numbers.count(stays) == 0);
    m_bus->plug(1, podOf(1));
    QCOMPARE(libusb_get_device_address(findPod(1).get()), uint8_t(stays + 1));
}

void SimulatorUsbBus::aTimeoutTakesItsRequestBack()
{
    m_bus->plug(3, podOf(3));
    const Handle handle = openSlot(3);
    QCOMPARE(read(handle, 8, 20).error, int(LIBUSB_ERROR_TIMEOUT));
    // A request left behind would swallow the answer.
    QCOMPARE(command(handle, 0x11), 0);
    QCOMPARE(read(handle, 1).bytes, QByteArray("\x0A"));
    QCOMPARE(read(handle, 8).bytes, udidOf(3));
}

void SimulatorUsbBus::unpluggedDuringATransfer()
{
    m_bus->plug(3, podOf(3));
    const Handle handle = openSlot(3);
    std::array<unsigned char, 64> buffer{};
    int completed = 0;
    const auto finish = [](libusb_transfer* done) { *static_cast<int*>(done->user_data) = 1; };
    libusb_transfer* transfer = libusb_alloc_transfer(0);
    libusb_fill_bulk_transfer(transfer, handle.get(), 0x81, buffer.data(), int(buffer.size()),
                              finish, &completed, 0);
    QCOMPARE(libusb_submit_transfer(transfer), 0);
    m_bus->unplug(3);
    while (completed == 0)
        libusb_handle_events_completed(m_context.get(), &completed);
    QCOMPARE(transfer->status, LIBUSB_TRANSFER_NO_DEVICE);
    libusb_free_transfer(transfer);
    QCOMPARE(command(handle, 0x11), int(LIBUSB_ERROR_NO_DEVICE));
}

void SimulatorUsbBus::unpluggedWhileRestarting()
{
    countLeavers();
    PodSettings settings = podOf(3);
    settings.restart_time = std::chrono::hours(1);
    m_bus->plug(3, settings);
    QCOMPARE(command(openSlot(3), 0x12), 0);
    const auto hasLeft = [this] {
        timeval no_patience{};
        libusb_handle_events_timeout(m_context.get(), &no_patience);
        return m_left == 1;
    };
    QTRY_VERIFY(hasLeft());
    QVERIFY(m_bus->plugged(3));
    m_bus->unplug(3);
    QVERIFY(!m_bus->plugged(3));
    QVERIFY(m_bus->flash(3).in_bootloader);
    settings.flash = m_bus->flash(3);
    m_bus->plug(3, settings);
    findPod(3, kBootloaderProduct);
}

void SimulatorUsbBus::refusesTheInterface()
{
    Handle handle;
    m_bus->plug(0, faultyPodOf(0, PodFault::ClaimBusy));
    QCOMPARE(openPod(findPod(0).get(), handle), int(LIBUSB_ERROR_BUSY));
    m_bus->plug(1, faultyPodOf(1, PodFault::DriverBusy));
    QCOMPARE(openPod(findPod(1).get(), handle), int(LIBUSB_ERROR_OTHER));
    QCOMPARE(libusb_claim_interface(handle.get(), 0), int(LIBUSB_ERROR_BUSY));
    QVERIFY(!m_bus->report(0).opened && !m_bus->report(1).opened);
}

void SimulatorUsbBus::giveBackWhenAHostCloses()
{
    m_bus->plug(3, podOf(3));
    Handle first = openSlot(3);
    Handle second;
    QCOMPARE(openPod(findPod(3).get(), second), int(LIBUSB_ERROR_BUSY));
    QCOMPARE(command(first, 0x11), 0);
    first.reset();
    // Closing says nothing to the device, so only asking again tells when it has noticed.
    int result = LIBUSB_ERROR_BUSY;
    while (result == LIBUSB_ERROR_BUSY)
        result = libusb_claim_interface(second.get(), 0);
    QCOMPARE(result, 0);
    QCOMPARE(libusb_release_interface(second.get(), 0), 0);
    QCOMPARE(libusb_attach_kernel_driver(second.get(), 0), 0);
    QCOMPARE(libusb_kernel_driver_active(second.get(), 0), 1);
}

void SimulatorUsbBus::idleHostsAreNotWoken()
{
    std::vector<Handle> handles;
    for (int slot = 0; slot < UsbBus::kSlotCount; ++slot) {
        m_bus->plug(slot, podOf(slot));
        handles.push_back(openSlot(slot));
        QCOMPARE(command(handles.back(), 0x11), 0);
        QCOMPARE(read(handles.back(), 1).error, 0);
    }
    const auto emptyReaps = [this] {
        int sum = 0;
        for (int slot = 0; slot < UsbBus::kSlotCount; ++slot)
            sum += m_bus->emptyReaps(slot);
        return sum;
    };
    // libusb reaps until nothing is left, so each transfer before cost at most one empty reap.
    const int before = emptyReaps();
    QVERIFY(before <= 2 * UsbBus::kSlotCount);
    for (int round = 0; round < 5; ++round) {
        timeval patience{0, 20'000};
        libusb_handle_events_timeout(m_context.get(), &patience);
    }
    QCOMPARE(emptyReaps(), before);
}

void SimulatorUsbBus::monitorsOutliveTheirNames()
{
    const QByteArray name = m_bus->testbedDir().toLocal8Bit() + "/event4711";
    const UniqueFd first = monitorAt(name);
    m_bus->plug(0, podOf(0));
    const UniqueFd second = monitorAt(name);
    m_bus->plug(1, podOf(1));
    m_bus->unplug(1);

    const auto received = [](const UniqueFd& monitor) {
        QVector<QByteArray> events;
        QByteArray message(4096, '\0');
        ssize_t length = 0;
        while ((length = ::recv(monitor.get(), message.data(), size_t(message.size()), 0)) > 0) {
            const QList<QByteArray> fields = message.left(int(length)).mid(40).split('\0');
            events.append(fields.at(0) + ' ' + fields.at(1).split('/').last());
        }
        return events;
    };
    const QVector<QByteArray> of_second{"ACTION=add 1-7.7.7.7.7.5", "ACTION=remove 1-7.7.7.7.7.5"};
    QCOMPARE(received(first), QVector<QByteArray>{"ACTION=add 1-7.7.7.7.7.6"} + of_second);
    QCOMPARE(received(second), of_second);
}

void SimulatorUsbBus::serialNumberMemory()
{
    SerialNumberMemory::install(m_bus->testbed(), QByteArray::fromHex("0004A3AABBCC"));
    const UniqueFd fd(::open("/dev/i2c-3", O_RDWR | O_CLOEXEC));
    QVERIFY(fd);
    const char serial_number_at = '\xFA';
    QCOMPARE(::write(fd.get(), &serial_number_at, 1), ssize_t(-1));
    QCOMPARE(::ioctl(fd.get(), I2C_SLAVE, 0x50), 0);
    QCOMPARE(::write(fd.get(), &serial_number_at, 1), ssize_t(-1));
    QCOMPARE(errno, ENXIO);
    QCOMPARE(::ioctl(fd.get(), I2C_SLAVE, 0x51), 0);
    QCOMPARE(::write(fd.get(), &serial_number_at, 1), ssize_t(1));
    QByteArray serial_number(6, '\0');
    QCOMPARE(::read(fd.get(), serial_number.data(), 6), ssize_t(6));
    QCOMPARE(serial_number, QByteArray::fromHex("0004A3AABBCC"));
}

QTEST_GUILESS_MAIN(SimulatorUsbBus)
#include "usbbus.moc"
