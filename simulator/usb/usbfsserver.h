#pragma once

#include "usb/gobjectref.h"
#include "usb/testbed.h"
#include "usb/usbdevice.h"

#include <QString>

#include <map>
#include <memory>
#include <mutex>
#include <set>

using UMockdevIoctlClient = struct _UMockdevIoctlClient;

struct GSourceEnd
{
    void operator()(GSource* source) const;
};

/// Serves the device nodes of the bus: brings each call on a node to the device that is behind it
/// now, and ends transfers when their time has come. Calls and timers run on the testbed's worker
/// thread, connect, disconnect and inspect on any other; one mutex guards the devices between them.
/// Shared, because a call may still be under way on the worker when the bus ends.
class UsbfsServer : public std::enable_shared_from_this<UsbfsServer>
{
public:
    explicit UsbfsServer(Testbed& testbed);

    /// Begins to serve; once, after construction.
    void start();
    /// Afterwards no device of this server is touched any more.
    void stop();

    /// Makes a device reachable below "/dev"; `node_name` as in "bus/usb/001/005".
    void connectDevice(const QString& node_name, std::shared_ptr<UsbDevice> device);
    /// Calls that are under way on it end as if the device had been pulled.
    void disconnectDevice(const QString& node_name);

    template <typename Function>
    auto locked(Function function) const
    {
        const std::lock_guard lock(m_mutex);
        return function();
    }

    // Called by the trampolines of the library's signals, on the worker thread.
    void clientConnected(UMockdevIoctlClient* client);
    void clientGone(UMockdevIoctlClient* client);
    void serve(UMockdevIoctlClient* client);
    void timeHasCome();

private:
    std::shared_ptr<UsbDevice> deviceOf(const UMockdevIoctlClient* client) const;
    void armTimer();
    void makeTimer();

    Testbed& m_testbed;
    GObjectRef<UMockdevIoctlBase> m_handler;
    std::set<QString> m_attached_nodes;

    mutable std::mutex m_mutex; ///< guards what follows, and all devices
    std::map<QString, std::shared_ptr<UsbDevice>> m_devices;
    std::map<const UMockdevIoctlClient*, std::shared_ptr<UsbDevice>> m_clients;
    std::unique_ptr<GSource, GSourceEnd> m_timer;
    bool m_stopped = false;
};
