#include "usbfs/usbbus.h"

#include "support/podrig.h"
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

constexpr int kBootloaderProduct = 0x521F;
constexpr unsigned kPatientMs = 10000;

/// Without a word to the device, as of a program that ends.
struct HandleClose
{
    void operator()(libusb_device_handle* handle) const { libusb_close(handle); }
};
using Handle = std::unique_ptr<libusb_device_handle, HandleClose>;

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
    void init() { m_rig = std::make_unique<PodRig>(); }
    void cleanup() { m_rig.reset(); }

    void everyDeviceIsFoundBesideABusyThread();
    void deviceNumbersAreFreshAndWrap();
    void aTimeoutTakesItsRequestBack();
    void unpluggedDuringATransfer();
    void unpluggedWhileRestarting();
    void giveBackWhenAHostCloses();
    void idleHostsAreNotWoken();
    void monitorsOutliveTheirNames();
    void serialNumberMemory();

private:
    /// Null when it cannot be opened.
    Handle plugAndOpen(int slot);

    std::unique_ptr<PodRig> m_rig;
};

Handle SimulatorUsbBus::plugAndOpen(int slot)
{
    Handle handle;
    const int result = openPod(m_rig->plug(slot, podOf(slot)).get(), handle);
    return result == 0 ? std::move(handle) : Handle();
}

/// As the station's is, which reads its fonts while libusb looks for devices.
void SimulatorUsbBus::everyDeviceIsFoundBesideABusyThread()
{
    constexpr int kHubs = 6;
    for (int slot = 0; slot < UsbBus::kSlotCount; ++slot)
        m_rig->bus().plug(slot, podOf(slot));
    std::atomic<bool> done{false};
    std::thread reader([&] {
        const UniqueFd folder(::open("/", O_RDONLY | O_CLOEXEC));
        struct statfs info = {};
        while (!done)
            ::fstatfs(folder.get(), &info);
    });
    std::set<ssize_t> counts;
    for (int start = 0; start < 10; ++start) {
        const UsbContext context;
        libusb_device** list = nullptr;
        counts.insert(libusb_get_device_list(context.get(), &list));
        libusb_free_device_list(list, 1);
    }
    done = true;
    reader.join();
    QCOMPARE(counts, std::set<ssize_t>{kHubs + UsbBus::kSlotCount});
}

void SimulatorUsbBus::deviceNumbersAreFreshAndWrap()
{
    const int stays = libusb_get_device_address(m_rig->plug(0, podOf(0)).get());
    std::set<int> numbers;
    for (int round = 1; round <= 127 - 7; ++round) {
        numbers.insert(libusb_get_device_address(m_rig->plug(1, podOf(1)).get()));
        m_rig->unplug(1);
    }
    // Six hubs and the pod that stays keep theirs; every other number has been used once.
    QCOMPARE(int(numbers.size()), 127 - 7);
    QVERIFY(numbers.count(stays) == 0);
    QCOMPARE(libusb_get_device_address(m_rig->plug(1, podOf(1)).get()), uint8_t(stays + 1));
}

void SimulatorUsbBus::aTimeoutTakesItsRequestBack()
{
    const Handle handle = plugAndOpen(3);
    QCOMPARE(read(handle, 8, 20).error, int(LIBUSB_ERROR_TIMEOUT));
    // A request left behind would swallow the answer.
    QCOMPARE(command(handle, 0x11), 0);
    QCOMPARE(read(handle, 1).bytes, QByteArray("\x0A"));
    QCOMPARE(read(handle, 8).bytes, udidOf(3));
}

void SimulatorUsbBus::unpluggedDuringATransfer()
{
    const Handle handle = plugAndOpen(3);
    std::array<unsigned char, 64> buffer{};
    int completed = 0;
    const auto finish = [](libusb_transfer* done) { *static_cast<int*>(done->user_data) = 1; };
    libusb_transfer* transfer = libusb_alloc_transfer(0);
    libusb_fill_bulk_transfer(transfer, handle.get(), 0x81, buffer.data(), int(buffer.size()),
                              finish, &completed, 0);
    QCOMPARE(libusb_submit_transfer(transfer), 0);
    m_rig->bus().unplug(3);
    while (completed == 0)
        libusb_handle_events_completed(m_rig->context(), &completed);
    QCOMPARE(transfer->status, LIBUSB_TRANSFER_NO_DEVICE);
    libusb_free_transfer(transfer);
    QCOMPARE(command(handle, 0x11), int(LIBUSB_ERROR_NO_DEVICE));
}

void SimulatorUsbBus::unpluggedWhileRestarting()
{
    PodSettings settings = podOf(3);
    settings.restart_time = std::chrono::hours(1);
    Handle handle;
    QCOMPARE(openPod(m_rig->plug(3, settings).get(), handle), 0);
    QCOMPARE(command(handle, 0x12), 0);
    QTRY_VERIFY(m_rig->find(UsbAddress::portsOfSlot(3)).get() == nullptr);
    UsbBus& bus = m_rig->bus();
    QVERIFY(bus.plugged(3));
    bus.unplug(3);
    QVERIFY(!bus.plugged(3) && bus.flash(3).in_bootloader);
    settings.flash = bus.flash(3);
    libusb_device_descriptor descriptor{};
    libusb_get_device_descriptor(m_rig->plug(3, settings).get(), &descriptor);
    QCOMPARE(int(descriptor.idProduct), kBootloaderProduct);
}

void SimulatorUsbBus::giveBackWhenAHostCloses()
{
    Handle first = plugAndOpen(3);
    Handle second;
    QCOMPARE(openPod(m_rig->find(UsbAddress::portsOfSlot(3)).get(), second),
             int(LIBUSB_ERROR_BUSY));
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
        handles.push_back(plugAndOpen(slot));
        QCOMPARE(command(handles.back(), 0x11), 0);
        QCOMPARE(read(handles.back(), 1).error, 0);
    }
    const auto emptyReaps = [this] {
        int sum = 0;
        for (int slot = 0; slot < UsbBus::kSlotCount; ++slot)
            sum += m_rig->bus().emptyReaps(slot);
        return sum;
    };
    // libusb reaps until nothing is left, so each transfer before cost at most one empty reap.
    const int before = emptyReaps();
    QVERIFY(before <= 2 * UsbBus::kSlotCount);
    for (int round = 0; round < 5; ++round) {
        timeval patience{0, 20'000};
        libusb_handle_events_timeout(m_rig->context(), &patience);
    }
    QCOMPARE(emptyReaps(), before);
}

void SimulatorUsbBus::monitorsOutliveTheirNames()
{
    const QByteArray name = m_rig->bus().testbedDir().toLocal8Bit() + "/event4711";
    const UniqueFd first = monitorAt(name);
    m_rig->bus().plug(0, podOf(0));
    const UniqueFd second = monitorAt(name);
    m_rig->bus().plug(1, podOf(1));
    m_rig->bus().unplug(1);

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
    SerialNumberMemory::install(m_rig->bus().testbed(), QByteArray::fromHex("0004A3AABBCC"));
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
