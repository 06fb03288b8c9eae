#pragma once

#include "main/corvane.h"
#include "usb/usbcontext.h"

#include <QDeadlineTimer>
#include <QObject>

#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <vector>

/// Watches the USB bus for pods, in their normal mode and in their bootloader, and serves each in
/// the slot that its place on the hubs gives. Lives on the discovery thread, which Start keeps
/// until it is stopped; owned by the task loop.
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
    struct Hotplug
    {
        UsbDeviceRef dev;
        int event;
        bool dfu; ///< the device is a pod's bootloader
    };

    void OnUsbHotplug(const UsbDeviceRef& dev, int event);
    void serve(int idx, const Hotplug& hotplug);
    void onArrival(int idx, const UsbDeviceRef& dev);
    void onRemoval(int idx, const UsbDeviceRef& dev);
    void onDfuArrival(int idx, const UsbDeviceRef& dev);
    void onDfuRemoval(int idx, const UsbDeviceRef& dev);
    void startPod(int idx, const UsbDeviceRef& dev, bool dfu);
    void endPod(int idx);

    /// The pod in this place is to leave the bus and come back.
    void awaitReturn(int idx, const UsbDeviceRef& dev);
    void onUpdateJudged(int idx, const UsbDeviceRef& dev, bool done);
    void replayHeld(int idx);
    void giveOverduePlacesBack();
    void endOverdue(int idx);

    bool registerCallbacks();
    bool registerCallback(uint16_t product, libusb_hotplug_callback_handle& handle);
    void Loop();
    void handleEvents();
    void wake();
    void windDown();

    Corvane& m_corvane;
    const std::chrono::milliseconds m_return_limit;
    std::shared_ptr<UsbContext> m_usb;
    libusb_hotplug_callback_handle m_handle = 0;
    libusb_hotplug_callback_handle m_handle_dfu = 0;
    /// Of a place whose bootloader has left: what happened there since, until the worker has said
    /// how the update ended.
    std::array<std::optional<std::vector<Hotplug>>, Corvane::kSlotCount> m_held;
    std::atomic<bool> m_started{false};
    std::atomic<int> m_live_workers{0}; ///< read by the controller once Start has returned
};
