#include "main/discovery.h"

#include "main/place.h"
#include "system/interruptiblesleep.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDebug>
#include <QThread>

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
constexpr timeval kEventWait{0, 200'000};

} // namespace

Discovery::Discovery(Corvane& corvane, std::chrono::milliseconds return_limit)
    : m_usb(std::make_shared<UsbContext>())
{
    int idx = 0;
    for (Place*& place : m_places) {
        place = new Place(idx++, corvane, return_limit, this);
        connect(place, &Place::podConnectionEvent, this, &Discovery::podConnectionEvent);
        connect(place, &Place::workerStarted, this, &Discovery::countWorker);
    }
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
    m_pods = registerCallback(kPodProduct);
    if (m_pods.active())
        m_bootloaders = registerCallback(kBootloaderProduct);
    if (!m_bootloaders.active())
        m_pods = {};
    return m_bootloaders.active();
}

HotplugRegistration Discovery::registerCallback(uint16_t product)
{
    return {m_usb, kPodVendor, product, &Discovery::OnUsbHotplugCallback, this};
}

void Discovery::Stop()
{
    if (!m_started.exchange(false))
        return;
    m_pods = {};
    m_bootloaders = {};
    wake();
}

void Discovery::Loop()
{
    while (m_started && !thread()->isInterruptionRequested()) {
        handleEvents();
        for (Place* place : m_places)
            place->giveBackIfOverdue();
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
    for (Place* place : m_places)
        place->end();
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
        m_places.at(idx)->serve({dev, event == LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED, dfu});
}

void Discovery::countWorker(QThread* worker)
{
    ++m_live_workers;
    // On the worker, which may outlive this object when it sits in a transfer at the end.
    connect(
        worker, &QThread::finished, worker,
        [usb = m_usb] { libusb_interrupt_event_handler(usb->get()); }, Qt::DirectConnection);
    connect(worker, &QObject::destroyed, this, [this] { --m_live_workers; });
}
