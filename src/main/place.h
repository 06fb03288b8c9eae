#pragma once

#include "usb/usbcontext.h"

#include <QDeadlineTimer>
#include <QObject>

#include <chrono>
#include <vector>

class Corvane;
class QThread;
struct device_slot_ts;

/// One of the station's thirty places: what is reported of it decides here what becomes of the pod
/// in its slot. Lives on the discovery thread; a child of Discovery. A worker that cannot be had is
/// logged and leaves the place free; all else that fails is the pod's.
class Place : public QObject
{
    Q_OBJECT

public:
    struct Hotplug
    {
        UsbDeviceRef dev;
        bool arrived; ///< or has left
        bool dfu;     ///< the device is a pod's bootloader
    };

    /// `return_limit`: how long a restart may take.
    Place(int idx, Corvane& corvane, std::chrono::milliseconds return_limit, QObject* parent);

    void serve(const Hotplug& hotplug);
    /// To be called from time to time: nothing else looks at the limit.
    void giveBackIfOverdue();
    /// Ends the pod, if there is one.
    void end();

signals:
    void podConnectionEvent();
    void workerStarted(QThread* worker);

private:
    /// An update takes a pod off the bus twice, and it comes back as another device each time.
    ///
    ///   Free ── plugged in ──> Served ── left, not updating ──> Free
    ///                           │  ^
    ///           told to restart │  │ back as another device, or still there at the limit
    ///                           v  │
    ///                        Restarting
    ///         ordinary pod left │  │ bootloader left
    ///                           │  v
    ///                           │ AwaitingVerdict ── failed, or no word by the limit ──> Free
    ///                           v  v done
    ///                      AwaitingReturn ── back as another device ──> Served
    ///                              └──────── not back by the limit ───> Free
    ///
    /// The worker sets Pod::getUpdating before its word reaches this thread. Where it is set, a
    /// pod that is Served leaves as one that is Restarting, and what arrives is the pod, come back.
    enum class State {
        Free,
        Served,          ///< the pod is on the bus, in either mode, as the slot's device
        Restarting,      ///< it is to leave the bus and come back in its other mode
        AwaitingVerdict, ///< its bootloader has left: the worker is asked how the update ended
        AwaitingReturn   ///< it has left, and is to come back in its other mode
    };

    State state() const;
    void onArrival(const Hotplug& hotplug);
    void onRemoval(const Hotplug& hotplug);
    void onReturn(const Hotplug& hotplug);
    void onRestarting(const UsbDeviceRef& dev);
    void onUpdateJudged(const UsbDeviceRef& dev, bool done);
    void startPod(const Hotplug& hotplug);
    void serveAs(const UsbDeviceRef& dev);
    void giveUpRestart();
    void serveHeld();

    const int m_idx;
    Corvane& m_corvane;
    device_slot_ts& m_slot;
    const std::chrono::milliseconds m_return_limit;
    State m_state = State::Free;
    /// By when a pod that was told to restart has to be back.
    QDeadlineTimer m_back_by{QDeadlineTimer::Forever};
    std::vector<Hotplug> m_held; ///< what happened here since AwaitingVerdict
};
