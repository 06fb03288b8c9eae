#include "main/discovery.h"

#include "main/pod.h"
#include "utils/interruptiblesleep.h"

#include <QCoreApplication>
#include <QDebug>
#include <QThread>

#include <array>
#include <utility>

using namespace std::chrono_literals;

namespace {

constexpr uint16_t kPodVendor = 0x1915;
constexpr uint16_t kPodProduct = 0x5203;
constexpr uint16_t kBootloaderProduct = 0x521F;
constexpr auto kStartDelay = 1000ms;
constexpr auto kLoopPause = 10ms;
constexpr auto kWindDownLimit = 2s;
/// A wake-up can be swallowed by a worker that handles events just then; nothing waits longer for
/// it.
constexpr timeval kEventWait{0, 100'000};

} // namespace

Discovery::Discovery(Corvane& corvane, std::chrono::milliseconds return_limit)
    : m_corvane(corvane)
    , m_return_limit(return_limit)
    , m_usb(std::make_shared<UsbContext>())
{
    qRegisterMetaType<UsbDeviceRef>();
    connect(this, &Discovery::hotplug, this, &Discovery::OnUsbHotplug, Qt::QueuedConnection);
}

Discovery::~Discovery()
{
    Stop();
}

int Discovery::getIdx(libusb_device* dev)
{
    std::array<uint8_t, 8> ports{};
    const int depth = libusb_get_port_numbers(dev, ports.data(), ports.size());
    const int idx = 6 * (6 - depth) + (6 - libusb_get_port_number(dev));
    return idx < Corvane::kSlotCount ? idx : -1;
}

void Discovery::Start()
{
    if (!sleepUnlessInterrupted(kStartDelay) || m_started)
        return;
    m_started = registerCallbacks();
    Loop();
    windDown();
}

bool Discovery::registerCallbacks()
{
    if (m_usb->get() == nullptr) {
        qCritical() << "No USB: libusb could not be initialised";
        return false;
    }
    if (!registerCallback(kPodProduct, m_handle))
        return false;
    if (registerCallback(kBootloaderProduct, m_handle_dfu))
        return true;
    libusb_hotplug_deregister_callback(m_usb->get(), m_handle);
    return false;
}

bool Discovery::registerCallback(uint16_t product, libusb_hotplug_callback_handle& handle)
{
    const int error = libusb_hotplug_register_callback(
        m_usb->get(), LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED | LIBUSB_HOTPLUG_EVENT_DEVICE_LEFT,
        LIBUSB_HOTPLUG_ENUMERATE, kPodVendor, product, LIBUSB_HOTPLUG_MATCH_ANY,
        &Discovery::OnUsbHotplugCallback, this, &handle);
    if (error != LIBUSB_SUCCESS)
        qCritical() << "No USB hot-plug:" << libusb_error_name(error);
    return error == LIBUSB_SUCCESS;
}

void Discovery::Stop()
{
    if (!m_started.exchange(false))
        return;
    libusb_hotplug_deregister_callback(m_usb->get(), m_handle);
    libusb_hotplug_deregister_callback(m_usb->get(), m_handle_dfu);
    wake();
}

void Discovery::Loop()
{
    while (m_started && !thread()->isInterruptionRequested()) {
        handleEvents();
        giveOverduePlacesBack();
        QThread::msleep(kLoopPause.count());
    }
}

void Discovery::handleEvents()
{
    int completed = 0;
    timeval wait = kEventWait;
    const int error = libusb_handle_events_timeout_completed(m_usb->get(), &wait, &completed);
    if (error != LIBUSB_SUCCESS)
        qDebug() << "Events handle libusb:" << error;
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void Discovery::wake()
{
    libusb_interrupt_event_handler(m_usb->get());
}

void Discovery::windDown()
{
    Stop();
    for (int idx = 0; idx < Corvane::kSlotCount; ++idx) {
        if (m_corvane.device_slots.at(idx).occupied())
            endPod(idx);
    }
    const QDeadlineTimer limit(kWindDownLimit);
    while (m_live_workers > 0 && !limit.hasExpired())
        handleEvents();
}

int Discovery::OnUsbHotplugCallback(libusb_context* /*ctx*/, libusb_device* dev,
                                    libusb_hotplug_event event, void* user_data)
{
    auto* const self = static_cast<Discovery*>(user_data);
    emit self->hotplug(UsbDeviceRef(self->m_usb, dev), event);
    self->wake();
    return 0; // stay registered
}

void Discovery::OnUsbHotplug(const UsbDeviceRef& dev, int event)
{
    libusb_device_descriptor descriptor{};
    if (libusb_get_device_descriptor(dev.get(), &descriptor) != LIBUSB_SUCCESS) {
        qDebug() << "Got a device but failed to look up its descriptor";
        return;
    }
    if (!m_started)
        return;
    const int idx = getIdx(dev.get());
    const bool dfu = descriptor.idProduct == kBootloaderProduct;
    if (!dfu)
        qDebug().nospace() << "Index: " << idx;
    if (idx >= 0)
        serve(idx, {dev, event, dfu});
}

void Discovery::serve(int idx, const Hotplug& hotplug)
{
    if (m_held.at(idx)) {
        m_held.at(idx)->push_back(hotplug);
        return;
    }
    const bool arrived = hotplug.event == LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED;
    // libusb reports twice what came between its own start and the registration.
    if (arrived && m_corvane.device_slots.at(idx).device.get() == hotplug.dev.get())
        return;
    if (hotplug.dfu)
        arrived ? onDfuArrival(idx, hotplug.dev) : onDfuRemoval(idx, hotplug.dev);
    else
        arrived ? onArrival(idx, hotplug.dev) : onRemoval(idx, hotplug.dev);
}

void Discovery::onArrival(int idx, const UsbDeviceRef& dev)
{
    auto& slot = m_corvane.device_slots.at(idx);
    if (!slot.occupied()) {
        startPod(idx, dev, false);
        emit m_corvane.podConnection(idx, true);
        emit podConnectionEvent();
        return;
    }
    if (!slot.pod->getUpdating())
        return;
    slot.serveAs(dev);
    emit slot.pod->setUpdateProgress(idx, 101);
    emit slot.pod->updateDone(dev);
    slot.pod->setUpdating(false);
}

void Discovery::onRemoval(int idx, const UsbDeviceRef& dev)
{
    auto& slot = m_corvane.device_slots.at(idx);
    // The device that left may not be the one served: two can report for one place.
    if (!slot.occupied() || slot.device.get() != dev.get())
        return;
    slot.left = true;
    // A pod that is being updated only goes to come back in its other mode.
    if (slot.pod->getUpdating())
        return;
    endPod(idx);
    emit podConnectionEvent();
}

void Discovery::onDfuArrival(int idx, const UsbDeviceRef& dev)
{
    auto& slot = m_corvane.device_slots.at(idx);
    if (!slot.occupied()) {
        startPod(idx, dev, true);
        emit podConnectionEvent(); // and, deliberately, no podConnection
        return;
    }
    // Another pod's: two can report for one place.
    if (!slot.pod->getUpdating())
        return;
    slot.serveAs(dev);
    emit slot.pod->launchDfu(dev);
}

/// The bootloader leaves right after its last reply, which the worker may not have seen yet: only
/// the worker can say whether this is the end of an update or a pod that was pulled.
void Discovery::onDfuRemoval(int idx, const UsbDeviceRef& dev)
{
    auto& slot = m_corvane.device_slots.at(idx);
    if (!slot.occupied() || slot.device.get() != dev.get())
        return;
    slot.left = true;
    // Its update has not begun, or was given up.
    if (!slot.pod->getUpdating()) {
        endPod(idx);
        return;
    }
    m_held.at(idx).emplace();
    emit slot.pod->bootloaderLeft(dev);
}

void Discovery::onUpdateJudged(int idx, const UsbDeviceRef& dev, bool done)
{
    if (m_corvane.device_slots.at(idx).device.get() != dev.get())
        return;
    if (!done)
        endPod(idx);
    replayHeld(idx);
}

void Discovery::replayHeld(int idx)
{
    const auto held = std::exchange(m_held.at(idx), std::nullopt);
    for (const Hotplug& hotplug : held.value_or(std::vector<Hotplug>()))
        serve(idx, hotplug);
}

void Discovery::awaitReturn(int idx, const UsbDeviceRef& dev)
{
    auto& slot = m_corvane.device_slots.at(idx);
    // It may have come back already, as another device.
    if (slot.device.get() == dev.get())
        slot.return_limit = QDeadlineTimer(m_return_limit);
}

void Discovery::giveOverduePlacesBack()
{
    for (int idx = 0; idx < Corvane::kSlotCount; ++idx) {
        const auto& slot = m_corvane.device_slots.at(idx);
        if (slot.occupied() && slot.return_limit.hasExpired())
            endOverdue(idx);
    }
}

void Discovery::endOverdue(int idx)
{
    auto& slot = m_corvane.device_slots.at(idx);
    if (slot.left) {
        qInfo() << "Pod did not come back from its restart, index:" << idx;
        endPod(idx);
        emit podConnectionEvent();
        replayHeld(idx);
        return;
    }
    qInfo() << "Pod did not restart, index:" << idx;
    slot.return_limit = QDeadlineTimer(QDeadlineTimer::Forever);
    // Still plugged in: its removal is that of any pod now.
    slot.pod->setUpdating(false);
    emit slot.pod->setSyncProgress(idx, -2);
}

void Discovery::startPod(int idx, const UsbDeviceRef& dev, bool dfu)
{
    auto& slot = m_corvane.device_slots.at(idx);
    slot.start(idx, dev, m_corvane, m_corvane.uibackend, dfu);
    ++m_live_workers;
    // On the worker, which may outlive this object when it sits in a transfer at the end.
    connect(
        slot.workThread, &QThread::finished, slot.workThread,
        [usb = m_usb] { libusb_interrupt_event_handler(usb->get()); }, Qt::DirectConnection);
    connect(slot.workThread, &QObject::destroyed, this, [this] { --m_live_workers; });
    connect(slot.pod, &Pod::restarting, this,
            [this, idx](const UsbDeviceRef& leaving) { awaitReturn(idx, leaving); });
    connect(slot.pod, &Pod::updateJudged, this,
            [this, idx](const UsbDeviceRef& left, bool done) { onUpdateJudged(idx, left, done); });
    ++m_corvane.nb_pods_connected;
}

void Discovery::endPod(int idx)
{
    auto& slot = m_corvane.device_slots.at(idx);
    slot.pod->disconnectScreen();
    slot.workThread->requestInterruption();
    emit slot.pod->finished();
    slot.clean();
    --m_corvane.nb_pods_connected;
    emit m_corvane.podConnection(idx, false);
}
