#include "support/podrig.h"

#include "bus/usbaddress.h"
#include "pod/initpacket.h"
#include "pod/replyforecast.h"
#include "support/testfiles.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QThread>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <chrono>
#include <numeric>

using namespace std::chrono_literals;
using testfiles::write;

namespace {

constexpr unsigned kMostTries = 10'000;

} // namespace

PodRig::PodRig()
{
    if (!QDir::setCurrent(m_dir.path()) || !QDir().mkdir(QStringLiteral("dfu")) ||
        !QDir().mkdir(QStringLiteral("tmp")))
        qFatal("Cannot use %s", qPrintable(m_dir.path()));
    // Where the libusb of the next context looks for its devices.
    qputenv("UMOCKDEV_DIR", m_bus.testbedDir().toLocal8Bit());
    m_context = std::make_shared<UsbContext>();
}

QByteArray PodRig::word(quint32 value)
{
    QByteArray bytes(4, '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

bool PodRig::aReplyHoldsEscape(const Package& package, const BootloaderSettings& bootloader)
{
    const QByteArray said_first = word(bootloader.mtu_bytes).left(2) +
                                  word(bootloader.limits.command_bytes) +
                                  word(bootloader.limits.data_bytes);
    return said_first.contains('\xDB') ||
           repliesHoldEscape(package.init, package.image, bootloader.limits);
}

PodRig::Package PodRig::plainPackage(const BootloaderSettings& bootloader, int image_bytes)
{
    for (unsigned seed = 1; seed <= kMostTries; ++seed) {
        const QByteArray image = testfiles::noise(seed, image_bytes);
        Package package{image, InitPacket::describing(image).toBytes()};
        if (!aReplyHoldsEscape(package, bootloader))
            return package;
    }
    qFatal("No image of %d bytes has plain replies", image_bytes);
}

void PodRig::unpack(const Package& package)
{
    const bool written =
        write(QStringLiteral("dfu/manifest.json"),
              R"({"manifest": {"application": {"bin_file": "app.bin", "dat_file": "app.dat"}}})") &&
        write(QStringLiteral("dfu/app.bin"), package.image) &&
        write(QStringLiteral("dfu/app.dat"), package.init);
    if (!written)
        qFatal("Cannot write the package");
}

PodSettings PodRig::podInBootloader(PodFault fault)
{
    PodSettings settings;
    settings.udid = QByteArray(8, '\xA5');
    settings.bytes_per_second = 0;
    settings.polls_until_charged = 0;
    settings.fault = fault;
    settings.flash.in_bootloader = true;
    return settings;
}

/// What libusb has there; it learns of changes on a thread of its own.
UsbDeviceRef PodRig::find(const QList<int>& ports) const
{
    libusb_device** list = nullptr;
    const ssize_t count = libusb_get_device_list(m_context->get(), &list);
    UsbDeviceRef found;
    for (ssize_t at = 0; at < count; ++at) {
        std::array<uint8_t, 8> of_device{};
        const int depth = libusb_get_port_numbers(list[at], of_device.data(), of_device.size());
        if (std::equal(of_device.begin(), of_device.begin() + depth, ports.begin(), ports.end()))
            found = UsbDeviceRef(m_context, list[at]);
    }
    libusb_free_device_list(list, 1);
    return found;
}

/// Without events, which are for the test to wait for.
UsbDeviceRef PodRig::await(int slot, bool there) const
{
    const QDeadlineTimer limit(30s);
    const QList<int> ports = UsbAddress::portsOfSlot(slot);
    UsbDeviceRef device = find(ports);
    for (; (device.get() != nullptr) != there && !limit.hasExpired(); device = find(ports))
        QThread::msleep(1);
    return device;
}

UsbDeviceRef PodRig::plug(int slot, const PodSettings& settings)
{
    m_bus.plug(slot, settings);
    return await(slot, true);
}

void PodRig::unplug(int slot)
{
    m_bus.unplug(slot);
    await(slot, false);
}

bool PodRig::updated(int slot, const Package& package) const
{
    const PodReport report = m_bus.report(slot);
    return report.updates_completed == 1 &&
           report.firmware_sha256 == InitPacket::describing(package.image).image_sha256;
}

int PodRig::refusals(int slot) const
{
    const RefusalCounts counts = m_bus.report(slot).bootloader.refusals;
    return std::accumulate(counts.begin(), counts.end(), 0);
}
