#pragma once

#include "pod/podmodel.h"
#include "usb/devicenode.h"
#include "usb/pacer.h"
#include "usb/urb.h"
#include "usb/usbdescription.h"

#include <array>
#include <list>
#include <memory>
#include <optional>

/// One device on the bus as the kernel's usbfs presents it to those who have its node open: claims,
/// the kernel driver, control requests, and the bulk requests of a pod at the speed of its wire.
/// Not thread-safe: its server's mutex guards it. Failures are the kernel's errno values.
class UsbDevice
{
public:
    struct Reply
    {
        int value = 0; ///< of the ioctl call; -1 with an error
        int error = 0; ///< errno
    };

    /// A hub has no pod.
    UsbDevice(UsbDescription description, const QString& node_path, std::unique_ptr<PodModel> pod);

    Reply handle(gulong request, UMockdevIoctlClient* client, UMockdevIoctlData* argument);
    void clientGone(const UMockdevIoctlClient* client);
    /// Ends every transfer whose bytes have passed by now.
    void advance(Pacer::TimePoint now);
    /// When the next one will have passed; none while nothing moves.
    std::optional<Pacer::TimePoint> nextDue() const;
    /// It leaves the bus: every open request ends, every later one fails.
    void disconnect();
    bool isConnected() const { return m_connected; }
    const UsbDescription& description() const { return m_description; }
    const PodModel* pod() const { return m_pod.get(); }
    /// How often a host came to reap and found nothing.
    int emptyReaps() const { return m_empty_reaps; }

private:
    struct Interface
    {
        bool has_driver = false;
        const UMockdevIoctlClient* claimed_by = nullptr;
    };

    static Reply failed(int error) { return {-1, error}; }
    Reply capabilities(UMockdevIoctlData* argument) const;
    Reply claim(const UMockdevIoctlClient* client, UMockdevIoctlData* argument);
    Reply release(const UMockdevIoctlClient* client, UMockdevIoctlData* argument);
    Reply driverName(UMockdevIoctlData* argument);
    Reply driverRequest(UMockdevIoctlData* argument);
    Reply submit(UMockdevIoctlClient* client, UMockdevIoctlData* argument);
    Reply discard(UMockdevIoctlData* argument);
    Reply reap(const UMockdevIoctlClient* client, UMockdevIoctlData* argument);
    Reply control(Urb urb);

    using Urbs = std::list<Urb>;
    Interface* interfaceAt(quint32 number);
    bool beginOut(Urb& urb, Pacer::TimePoint now);
    bool beginIn(Urb& urb, Pacer::TimePoint now);
    void advanceOut(Pacer::TimePoint now);
    void advanceIn(Pacer::TimePoint now);
    void finish(Urbs& from, int status, int actual_length_bytes);

    UsbDescription m_description;
    DeviceNode m_node;
    std::unique_ptr<PodModel> m_pod;
    Pacer m_pacer;
    std::array<Interface, 2> m_interfaces;
    Urbs m_out;      ///< bulk requests to the pod, the first one moving
    Urbs m_in;       ///< bulk requests from the pod, the first one moving
    Urbs m_finished; ///< waiting to be reaped
    bool m_connected = true;
    int m_empty_reaps = 0;
};
