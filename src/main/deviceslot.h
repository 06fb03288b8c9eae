#pragma once

#include "usb/usbcontext.h"

#include <QPointer>

#include <functional>

class Corvane;
class Pod;
class QThread;
class UIBackEnd;

/// A pod and its worker thread, in one of the station's places. Owns neither: both delete
/// themselves after Pod::finished. Belongs to the discovery thread.
struct device_slot_ts
{
    QPointer<Pod> pod;
    QPointer<QThread> workThread;
    UsbDeviceRef device; ///< as which the pod is served at present, or was before it restarted

    /// Makes the pod and its worker thread, wires them and starts the thread. Leaves the slot
    /// empty when no thread is to be had. `dfu`: the device is a pod's bootloader. `wire` is called
    /// with the pod before it runs: a signal of its first moments would be missed later.
    void start(int idx, const UsbDeviceRef& dev, Corvane& controller, UIBackEnd& backend, bool dfu,
               const std::function<void(Pod*)>& wire);
    /// Forgets both, however long they take to wind down: the slot is free for the next pod.
    void clean();
    /// False also when both have come to their end without `clean`.
    bool occupied() const { return !pod.isNull() && !workThread.isNull(); }
};
