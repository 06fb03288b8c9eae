#pragma once

#include "bus/podbus.h"
#include "usbfs/sysfstree.h"
#include "usbfs/testbed.h"
#include "usbfs/ueventsender.h"

#include <array>
#include <memory>
#include <optional>
#include <vector>

class UsbDevice;

/// The station's simulated USB: a root hub, five chained seven-port hubs, and thirty places for
/// pods, as a program with real libusb sees it when it runs with testbedDir() as UMOCKDEV_DIR under
/// umockdev's preload. Lives on one thread, whose event loop must run; its signals come from there.
/// The devices are served on the testbed's thread (NodeServer).
class UsbBus : public PodBus
{
    Q_OBJECT

public:
    UsbBus();
    Q_DISABLE_COPY_MOVE(UsbBus)
    ~UsbBus() override;

    QString testbedDir() const { return m_testbed.dir(); }
    /// For other simulated hardware of the same station.
    Testbed& testbed() { return m_testbed; }

    /// How often hosts came to collect finished transfers and found none; of the last pod.
    int emptyReaps(int slot) const;

protected:
    void enter(int slot, const std::shared_ptr<PodModel>& pod) override;
    void leave(int slot) override;
    void betweenTransfers(const std::function<void()>& work) const override;

private:
    struct Place
    {
        std::optional<UsbAddress> address; ///< none while the pod is not on the bus
        std::shared_ptr<UsbDevice> device; ///< the last one
    };

    std::shared_ptr<UsbDevice> addDevice(const UsbAddress& address,
                                         const UsbDescription& description,
                                         std::shared_ptr<PodModel> pod);
    int nextDeviceNumber();
    const Place& place(int slot) const;

    Testbed m_testbed;
    SysfsTree m_tree;
    UeventSender m_uevents;
    std::array<Place, kSlotCount> m_places;
    std::vector<bool> m_device_number_used;
    int m_next_device_number = 1;
};
