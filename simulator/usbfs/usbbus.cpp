#include "usbfs/usbbus.h"

#include "usbfs/usbdevice.h"

namespace {
constexpr int kHighestDeviceNumber = 127;
} // namespace

UsbBus::UsbBus()
    : m_tree(m_testbed.dir())
    , m_uevents(m_testbed.dir())
    , m_device_number_used(kHighestDeviceNumber + 1)
{
    addDevice({{}, nextDeviceNumber()}, UsbDescription::rootHub(), nullptr);
    for (int hub = 1; hub <= UsbAddress::kHubs; ++hub)
        addDevice({UsbAddress::portsOfHub(hub), nextDeviceNumber()}, UsbDescription::sevenPortHub(),
                  nullptr);
}

UsbBus::~UsbBus() = default;

std::shared_ptr<UsbDevice> UsbBus::addDevice(const UsbAddress& address,
                                             const UsbDescription& description,
                                             std::shared_ptr<PodModel> pod)
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

void UsbBus::enter(int slot, const std::shared_ptr<PodModel>& pod)
{
    Place& place = m_places.at(size_t(slot));
    place.address = UsbAddress(UsbAddress::portsOfSlot(slot), nextDeviceNumber());
    place.device =
        addDevice(*place.address, UsbDescription::pod(pod->mode(), pod->settings()), pod);
}

void UsbBus::leave(int slot)
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

void UsbBus::betweenTransfers(const std::function<void()>& work) const
{
    m_testbed.nodes().locked(work);
}

int UsbBus::emptyReaps(int slot) const
{
    return m_testbed.nodes().locked([&] {
        const auto& device = place(slot).device;
        return device ? device->emptyReaps() : 0;
    });
}
