#include "main/discovery.h"

#include "main/pod.h"
#include "utils/interruptiblesleep.h"

#include <QCoreApplication>
#include <QDebug>
#include <QThread>

#include <array>

using namespace std::chrono_literals;

namespace {

constexpr uint16_t kPodVendor = 0x1915;
constexpr uint16_t kPodProduct = 0x5203;
constexpr auto kStartDelay = 1000ms;
constexpr auto kLoopPause = 10ms;
constexpr auto kWindDownLimit = 2s;
/// A wake-up can be swallowed by a worker that handles events just then; nothing waits longer for
/// it.
constexpr timeval kEventWait{0, 100'000};

} // namespace

Discovery::Discovery(Corvane& corvane)
    : m_corvane(corvane)
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
    m_started = registerCallback();
    Loop();
    windDown();
}

bool Discovery::registerCallback()
{
    if (m_usb->get() == nullptr) {
        qCritical() << "No USB: libusb could not be initialised";
        return false;
    }
    const int error = libusb_hotplug_register_callback(
        m_usb->get(), LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED | LIBUSB_HOTPLUG_EVENT_DEVICE_LEFT,
        LIBUSB_HOTPLUG_ENUMERATE, kPodVendor, kPodProduct, LIBUSB_HOTPLUG_MATCH_ANY,
        &Discovery::OnUsbHotplugCallback, this, &m_handle);
    if (error != LIBUSB_SUCCESS)
        qCritical() << "No USB hot-plug:" << libusb_error_name(error);
    return error == LIBUSB_SUCCESS;
}

void Discovery::Stop()
{
    if (!m_started.exchange(false))
        return;
    libusb_hotplug_deregister_callback(m_usb->get(), m_handle);
    wake();
}

void Discovery::Loop()
{
    while (m_started && !thread()->isInterruptionRequested()) {
        handleEvents();
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
    if (event == LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED)
        onArrival(dev);
    else
        onRemoval(dev);
}

void Discovery::onArrival(const UsbDeviceRef& dev)
{
    const int idx = getIdx(dev.get());
    qDebug().nospace() << "Index: " << idx;
    if (idx < 0 || m_corvane.device_slots.at(idx).occupied())
        return;
    auto& slot = m_corvane.device_slots.at(idx);
    slot.start(idx, dev, m_corvane, m_corvane.uibackend);
    ++m_live_workers;
    // On the worker, which may outlive this object when it sits in a transfer at the end.
    connect(
        slot.workThread, &QThread::finished, slot.workThread,
        [usb = m_usb] { libusb_interrupt_event_handler(usb->get()); }, Qt::DirectConnection);
    connect(slot.workThread, &QObject::destroyed, this, [this] { --m_live_workers; });
    ++m_corvane.nb_pods_connected;
    emit m_corvane.podConnection(idx, true);
    emit podConnectionEvent();
}

void Discovery::onRemoval(const UsbDeviceRef& dev)
{
    const int idx = getIdx(dev.get());
    qDebug().nospace() << "Index: " << idx;
    // The device that left may not be the one served: two can report for one place.
    if (idx < 0 || !m_corvane.device_slots.at(idx).occupied() ||
        m_corvane.device_slots.at(idx).pod->getDev() != dev.get())
        return;
    endPod(idx);
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
    emit podConnectionEvent();
}
