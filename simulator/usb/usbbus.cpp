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
    for (int slot = 0; slot < kSlotCount; ++slot) {
        QTimer& timer = m_places.at(size_t(slot)).restart;
        timer.setSingleShot(true);
        connect(&timer, &QTimer::timeout, this, [this, slot] { restart(slot); });
    }
    addDevice({{}, nextDeviceNumber()}, UsbDescription::rootHub(), nullptr);
    for (int hub = 1; hub <= kHubs; ++hub)
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

void UsbBus::plug(int slot, const PodSettings& settings)
{
    Q_ASSERT(!plugged(slot));
    Place& place = m_places.at(size_t(slot));
    place.stay = ++m_stays;
    place.pod = std::make_shared<PodModel>(settings);
    place.pod->setListener([this, slot, stay = place.stay](PodEvent event) {
        Q_EMIT podEvent(slot, stay, event, QPrivateSignal());
    });
    enter(slot);
}

void UsbBus::unplug(int slot)
{
    leave(slot);
    Place& place = m_places.at(size_t(slot));
    place.restart.stop();
    place.stay = 0;
}

void UsbBus::enter(int slot)
{
    Place& place = m_places.at(size_t(slot));
    place.address = UsbAddress(UsbAddress::portsOfSlot(slot), nextDeviceNumber());
    place.device =
        addDevice(*place.address,
                  UsbDescription::pod(place.pod->mode(), place.pod->settings().udid), place.pod);
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

void UsbBus::restart(int slot)
{
    m_testbed.nodes().locked([&] { place(slot).pod->restart(); });
    enter(slot);
    Q_EMIT podRestarted(slot);
}

bool UsbBus::plugged(int slot) const
{
    return place(slot).stay != 0;
}

PodReport UsbBus::report(int slot) const
{
    return m_testbed.nodes().locked([&] {
        const auto& pod = place(slot).pod;
        return pod ? pod->report() : PodReport();
    });
}

PodFlash UsbBus::flash(int slot) const
{
    return m_testbed.nodes().locked([&] {
        const auto& pod = place(slot).pod;
        return pod ? pod->flash() : PodFlash();
    });
}

int UsbBus::emptyReaps(int slot) const
{
    return m_testbed.nodes().locked([&] {
        const auto& device = place(slot).device;
        return device ? device->emptyReaps() : 0;
    });
}

void UsbBus::onPodEvent(int slot, quint64 stay, PodEvent event)
{
    // The place may have been freed, and taken again, before this arrived.
    const bool still_there = place(slot).stay == stay;
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
    case PodEvent::Restarting:
        if (!still_there)
            break;
        leave(slot);
        m_places.at(size_t(slot)).restart.start(place(slot).pod->settings().restart_time);
        break;
    case PodEvent::Vanished:
        if (!still_there)
            break;
        unplug(slot);
        Q_EMIT podVanished(slot);
        break;
    }
}
