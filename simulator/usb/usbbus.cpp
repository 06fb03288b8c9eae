#include "usb/usbbus.h"

#include "usb/usbdevice.h"

namespace {
constexpr int kHubs = 5;
constexpr int kHighestDeviceNumber = 127;
} // namespace

UsbBus::UsbBus()
    : m_tree(m_testbed.dir())
    , m_uevents(m_testbed.dir())
    , m_device_number_used(kHighestDeviceNumber + 1)
{
    qRegisterMetaType<PodEvent>();
    connect(this, &UsbBus::podEvent, this, &UsbBus::onPodEvent, Qt::QueuedConnection);
    addDevice({{}, nextDeviceNumber()}, UsbDescription::rootHub(), nullptr);
    for (int hub = 1; hub <= kHubs; ++hub)
        addDevice({UsbAddress::portsOfHub(hub), nextDeviceNumber()}, UsbDescription::sevenPortHub(),
                  nullptr);
}

UsbBus::~UsbBus() = default;

std::shared_ptr<UsbDevice> UsbBus::addDevice(const UsbAddress& address,
                                             const UsbDescription& description,
                                             std::unique_ptr<PodModel> pod)
{
    auto device = std::make_shared<UsbDevice>(
        description, m_testbed.dir() + QLatin1String("/dev/") + address.nodeName(), std::move(pod));
    m_testbed.nodes().attach(QLatin1String("/dev/") + address.nodeName(), device);
    m_tree.add(address, description);
    m_uevents.send("add", address.sysfsPath(), SysfsTree::properties(address, description));
    return device;
}

int UsbBus::nextDeviceNumber()
{
    while (m_device_number_used.at(size_t(m_next_device_number)))
        m_next_device_number = m_next_device_number % kHighestDeviceNumber + 1;
    const int number = m_next_device_number;
    m_device_number_used.at(size_t(number)) = true;
    m_next_device_number = m_next_device_number % kHighestDeviceNumber + 1;
    return number;
}

const UsbBus::Place& UsbBus::place(int slot) const
{
    return m_places.at(size_t(slot));
}

void UsbBus::plug(int slot, const PodSettings& settings)
{
    Q_ASSERT(!plugged(slot));
    const UsbAddress address(UsbAddress::portsOfSlot(slot), nextDeviceNumber());
    auto pod = std::make_unique<PodModel>(settings);
    pod->setListener([this, slot, number = address.deviceNumber()](PodEvent event) {
        Q_EMIT podEvent(slot, number, event, QPrivateSignal());
    });
    Place& place = m_places.at(size_t(slot));
    place.device = addDevice(address, UsbDescription::pod(settings.udid), std::move(pod));
    place.address = address;
}

void UsbBus::unplug(int slot)
{
    Place& place = m_places.at(size_t(slot));
    if (!place.address)
        return;
    const UsbAddress address = *place.address;
    m_testbed.nodes().locked([&] { place.device->disconnect(); });
    m_tree.remove(address);
    m_uevents.send("remove", address.sysfsPath(),
                   SysfsTree::properties(address, place.device->description()));
    m_device_number_used.at(size_t(address.deviceNumber())) = false;
    place.address.reset();
}

bool UsbBus::plugged(int slot) const
{
    return place(slot).address.has_value();
}

PodReport UsbBus::report(int slot) const
{
    return m_testbed.nodes().locked([&] {
        const auto& device = place(slot).device;
        return device ? device->pod()->report() : PodReport();
    });
}

int UsbBus::emptyReaps(int slot) const
{
    return m_testbed.nodes().locked([&] {
        const auto& device = place(slot).device;
        return device ? device->emptyReaps() : 0;
    });
}

void UsbBus::onPodEvent(int slot, int device_number, PodEvent event)
{
    switch (event) {
    case PodEvent::ReadoutBegun:
        Q_EMIT readoutBegun(slot);
        break;
    case PodEvent::ReadoutCompleted:
        Q_EMIT readoutCompleted(slot);
        break;
    case PodEvent::Erased:
        Q_EMIT podErased(slot);
        break;
    case PodEvent::Charged:
        Q_EMIT podCharged(slot);
        break;
    case PodEvent::Vanished:
        // The place may have been freed, and taken again, before this arrived.
        if (!plugged(slot) || place(slot).address->deviceNumber() != device_number)
            break;
        unplug(slot);
        Q_EMIT podVanished(slot);
        break;
    }
}
