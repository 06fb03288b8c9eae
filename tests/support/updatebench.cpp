#include "support/updatebench.h"

#include "dfu/dfuprotocol.h"
#include "dfu/slip.h"
#include "main/discovery.h"
#include "pod/initpacket.h"

#include <QDir>
#include <QFile>
#include <QtEndian>

#include <algorithm>
#include <numeric>
#include <thread>
#include <zlib.h>

namespace {

quint32 crcOf(const QByteArray& bytes)
{
    return quint32(
        ::crc32(0, reinterpret_cast<const Bytef*>(bytes.constData()), uInt(bytes.size())));
}

bool isMisread(uint8_t operation, const QByteArray& payload)
{
    const QByteArray bytes = QByteArray(1, char(dfuprotocol::kReply)) + char(operation) +
                             char(dfuprotocol::kSuccess) + payload;
    const std::vector<uint8_t> frame(bytes.begin(), bytes.end());
    slip::Slip codec;
    codec.encodeData(frame);
    bool complete = false;
    for (const uint8_t byte : codec.getEncodedData())
        complete = codec.decodeAddByte(byte);
    return !complete || codec.getDecodedData() != frame;
}

void write(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("Cannot write %s", qPrintable(path));
}

} // namespace

UpdateBench::UpdateBench()
{
    if (!QDir::setCurrent(m_dir.path()) || !QDir().mkdir(QStringLiteral("dfu")))
        qFatal("Cannot use %s", qPrintable(m_dir.path()));
    // Where the libusb of the next context looks for its devices.
    qputenv("UMOCKDEV_DIR", m_bus.testbedDir().toLocal8Bit());
    m_context = std::make_shared<UsbContext>();
}

QByteArray UpdateBench::randomBytes(std::mt19937& random, int size_bytes)
{
    QByteArray bytes(size_bytes, '\0');
    std::generate(bytes.begin(), bytes.end(), [&random] { return char(random()); });
    return bytes;
}

QByteArray UpdateBench::word(quint32 value)
{
    QByteArray bytes(4, '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

bool UpdateBench::aReplyIsMisread(const Package& package, const BootloaderSettings& bootloader)
{
    const auto select = [](quint32 most_bytes) { return word(most_bytes) + word(0) + word(0); };
    const auto checksum = [](const QByteArray& received) {
        return word(quint32(received.size())) + word(crcOf(received));
    };
    const auto object_bytes = int(bootloader.limits.data_bytes);
    bool misread = isMisread(dfuprotocol::kGetMtu, word(bootloader.mtu_bytes).left(2)) ||
                   isMisread(dfuprotocol::kSelect, select(bootloader.limits.command_bytes)) ||
                   isMisread(dfuprotocol::kChecksum, checksum(package.init)) ||
                   isMisread(dfuprotocol::kSelect, select(bootloader.limits.data_bytes));
    for (int end = object_bytes; end - object_bytes < package.image.size(); end += object_bytes)
        misread = misread || isMisread(dfuprotocol::kChecksum, checksum(package.image.left(end)));
    return misread;
}

UpdateBench::Package UpdateBench::plainPackage(const BootloaderSettings& bootloader,
                                               int image_bytes)
{
    for (unsigned seed = 1;; ++seed) {
        std::mt19937 random(seed);
        const QByteArray image = randomBytes(random, image_bytes);
        Package package{image, InitPacket::describing(image).toBytes()};
        if (!aReplyIsMisread(package, bootloader))
            return package;
    }
}

void UpdateBench::unpack(const Package& package)
{
    write(QStringLiteral("dfu/manifest.json"),
          R"({"manifest": {"application": {"bin_file": "app.bin", "dat_file": "app.dat"}}})");
    write(QStringLiteral("dfu/app.bin"), package.image);
    write(QStringLiteral("dfu/app.dat"), package.init);
}

PodSettings UpdateBench::podInBootloader(PodFault fault)
{
    PodSettings settings;
    settings.udid = QByteArray(8, '\xA5');
    settings.bytes_per_second = 0;
    settings.polls_until_charged = 0;
    settings.fault = fault;
    settings.flash.in_bootloader = true;
    return settings;
}

/// What libusb has in that place; it learns of changes on a thread of its own.
UsbDeviceRef UpdateBench::find(int slot) const
{
    constexpr int kPodVendor = 0x1915;
    libusb_device** list = nullptr;
    const ssize_t count = libusb_get_device_list(m_context->get(), &list);
    UsbDeviceRef found;
    for (ssize_t at = 0; at < count; ++at) {
        libusb_device_descriptor descriptor{};
        libusb_get_device_descriptor(list[at], &descriptor);
        if (descriptor.idVendor == kPodVendor && Discovery::getIdx(list[at]) == slot)
            found = UsbDeviceRef(m_context, list[at]);
    }
    libusb_free_device_list(list, 1);
    return found;
}

UsbDeviceRef UpdateBench::plug(int slot, const PodSettings& settings)
{
    m_bus.plug(slot, settings);
    UsbDeviceRef device;
    while ((device = find(slot)).get() == nullptr)
        std::this_thread::yield();
    return device;
}

void UpdateBench::unplug(int slot)
{
    m_bus.unplug(slot);
    while (find(slot).get() != nullptr)
        std::this_thread::yield();
}

bool UpdateBench::updated(int slot, const Package& package) const
{
    const PodReport report = m_bus.report(slot);
    return report.updates_completed == 1 &&
           report.firmware_sha256 == InitPacket::describing(package.image).image_sha256;
}

int UpdateBench::refusals(int slot) const
{
    const RefusalCounts counts = m_bus.report(slot).bootloader.refusals;
    return std::accumulate(counts.begin(), counts.end(), 0);
}
