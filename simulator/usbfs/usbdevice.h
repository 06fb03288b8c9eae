#pragma once

#include "bus/usbdescription.h"
#include "common/pacer.h"
#include "pod/podmodel.h"
#include "usbfs/devicenode.h"
#include "usbfs/nodehandler.h"
#include "usbfs/urb.h"

#include <array>
#include <list>
#include <memory>
#include <optional>

/// One device on the bus as the kernel's usbfs presents it to those who have its node open: claims,
/// the kernel driver, control requests, and the bulk requests of a pod at the speed of its wire.
/// Its node server's mutex guards it. Failures are the kernel's errno values.
class UsbDevice : public NodeHandler
{
public:
    /// A hub has no pod.
    UsbDevice(UsbDescription description, const QString& node_path, std::shared_ptr<PodModel> pod);

    void handle(NodeClient& host, const NodeCall& call) override;
    void clientGone(const NodeClient& host) override;
    /// Ends every transfer whose bytes have passed by now.
    void advance(TimePoint now) override;
    std::optional<TimePoint> nextDue() const override;

    /// It leaves the bus: every open request ends, every later one fails, and the pod is free to
    /// come back as another device.
    void disconnect();
    const UsbDescription& description() const { return m_description; }
    /// How often a host came to reap and found nothing.
    int emptyReaps() const { return m_empty_reaps; }

private:
    struct Reply
    {
        long value = 0; ///< of the ioctl call; -1 with an error
        int error = 0;  ///< errno
    };
    struct Interface
    {
        bool has_driver = true;
        const NodeClient* claimed_by = nullptr;
    };

    static Reply failed(int error) { return {-1, error}; }
    Reply answer(NodeClient& host, unsigned long request, unsigned long argument);
    Reply claim(NodeClient& host, unsigned long argument);
    Reply release(NodeClient& host, unsigned long argument);
    Reply driverName(NodeClient& host, unsigned long argument);
    Reply driverRequest(NodeClient& host, unsigned long argument);
    Reply submit(NodeClient& host, unsigned long argument);
    Reply discard(const NodeClient& host, unsigned long address);
    Reply reap(const NodeClient& host, unsigned long argument);
    Reply control(NodeClient& host, Urb urb);
    bool use(NodeClient& host, quint32 number);

    using Urbs = std::list<Urb>;
    Interface* interfaceAt(quint32 number);
    void advanceOut(TimePoint now);
    void advanceIn(TimePoint now);
    void finish(Urbs& from, int status, int actual_length_bytes);

    UsbDescription m_description;
    DeviceNode m_node;
    std::shared_ptr<PodModel> m_pod; ///< none in a hub, and none any more when it has left
    Pacer m_pacer;
    std::array<Interface, 2> m_interfaces;
    Urbs m_out;      ///< bulk requests to the pod, the first one moving
    Urbs m_in;       ///< bulk requests from the pod, the first one moving
    Urbs m_finished; ///< waiting to be reaped
    bool m_connected = true;
    int m_empty_reaps = 0;
};
