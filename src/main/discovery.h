#pragma once

#include "main/corvane.h"
#include "usb/hotplugregistration.h"
#include "usb/usbcontext.h"

#include <QObject>

#include <array>
#include <atomic>
#include <chrono>
#include <memory>

class Place;
class QThread;

/// Watches the USB bus for pods, in their normal mode and in their bootloader, and tells each
/// pod's place on the hubs. Lives on the discovery thread, which Start keeps until it is stopped;
/// owned by the task loop.
///
/// libusb runs the hot-plug callbacks on whichever thread handles its events, a worker in a
/// transfer included: they only reference the device and pass it on, and all else runs on this
/// thread. The loop also delivers this thread's queued calls and deletions, for the worker threads'
/// sake.
class Discovery : public QObject
{
    Q_OBJECT

public:
    /// How long a restart may take. Seconds are usual, but a large image has to be put in place,
    /// and a broken neighbour on the hub holds up the enumeration. A pod that stays away longer was
    /// pulled or is broken, and its place must serve the next.
    static constexpr std::chrono::milliseconds kReturnLimit = std::chrono::minutes(1);

    explicit Discovery(Corvane& corvane, std::chrono::milliseconds return_limit = kReturnLimit);
    ~Discovery() override;
    Discovery(const Discovery&) = delete;
    Discovery& operator=(const Discovery&) = delete;
    Discovery(Discovery&&) = delete;
    Discovery& operator=(Discovery&&) = delete;

    /// Slot of a device, negative when it sits in none. Six pods a hub, five hubs in a chain; the
    /// deepest hub holds slots 0 to 5, and port 6 has the lower index, as the screen's rows do.
    static int getIdx(libusb_device* dev);

    /// Worker threads still running when Start gave up waiting for them. Valid after Start.
    int workersLeft() const { return m_live_workers; }

public slots:
    /// Blocks until the thread is asked to stop; then ends all pods and waits for their threads,
    /// at most 2 s.
    void Start();
    /// Thread-safe.
    void Stop();

signals:
    void podConnectionEvent();
    /// From any thread, queued to this one. `event` is a libusb_hotplug_event.
    void hotplug(UsbDeviceRef dev, int event);

private:
    static int LIBUSB_CALL OnUsbHotplugCallback(libusb_context* ctx, libusb_device* dev,
                                                libusb_hotplug_event event, void* user_data);
    void OnUsbHotplug(const UsbDeviceRef& dev, int event);
    /// windDown waits for it.
    void countWorker(QThread* worker);

    bool registerCallbacks();
    HotplugRegistration registerCallback(uint16_t product);
    void Loop();
    void handleEvents();
    void wake();
    void windDown();

    std::shared_ptr<UsbContext> m_usb;
    std::array<Place*, Corvane::kSlotCount> m_places{}; ///< children
    HotplugRegistration m_pods;
    HotplugRegistration m_bootloaders;
    std::atomic<bool> m_started{false};
    std::atomic<int> m_live_workers{0}; ///< read by the controller once Start has returned
};
