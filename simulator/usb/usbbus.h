#pragma once

#include "pod/podmodel.h"
#include "testbed/testbed.h"
#include "usb/sysfstree.h"
#include "usb/ueventsender.h"

#include <QObject>
#include <QTimer>

#include <array>
#include <memory>
#include <optional>
#include <vector>

class UsbDevice;

/// The station's simulated USB: a root hub, five chained seven-port hubs, and thirty places for
/// pods, as a program with real libusb sees it when it runs with testbedDir() as UMOCKDEV_DIR under
/// umockdev's preload. Lives on one thread, whose event loop must run; its signals come from there.
/// The devices are served on the testbed's thread (NodeServer).
class UsbBus : public QObject
{
    Q_OBJECT

public:
    static constexpr int kSlotCount = 30;

    UsbBus();
    UsbBus(const UsbBus&) = delete;
    UsbBus& operator=(const UsbBus&) = delete;
    UsbBus(UsbBus&&) = delete;
    UsbBus& operator=(UsbBus&&) = delete;
    ~UsbBus() override;

    QString testbedDir() const { return m_testbed.dir(); }
    /// For other simulated hardware of the same station.
    Testbed& testbed() { return m_testbed; }

    /// The slot must be free.
    void plug(int slot, const PodSettings& settings);
    /// Nothing happens when the slot is free.
    void unplug(int slot);
    /// Also while the pod has left the bus to restart.
    bool plugged(int slot) const;
    /// Of the last pod of that slot.
    PodReport report(int slot) const;
    /// What that pod keeps when it is unplugged.
    PodFlash flash(int slot) const;
    /// How often hosts came to collect finished transfers and found none; of the last pod.
    int emptyReaps(int slot) const;

Q_SIGNALS:
    void readoutBegun(int slot);
    void readoutCompleted(int slot);
    void podErased(int slot);
    void podCharged(int slot);
    /// The pod is back on the bus; its report says in which mode.
    void podRestarted(int slot);
    /// The pod unplugged itself.
    void podVanished(int slot);

    /// Carries what a pod tells on the testbed's thread over to this object's; not for others.
    void podEvent(int slot, quint64 stay, PodEvent event, QPrivateSignal);

private:
    struct Place
    {
        quint64 stay = 0;                  ///< tells one plugging from the next; 0: free
        std::optional<UsbAddress> address; ///< none while the pod is not on the bus
        std::shared_ptr<PodModel> pod;     ///< kept for its report when it has left
        std::shared_ptr<UsbDevice> device; ///< the last one
        QTimer restart;                    ///< runs while the pod is to come back
    };

    std::shared_ptr<UsbDevice> addDevice(const UsbAddress& address,
                                         const UsbDescription& description,
                                         std::shared_ptr<PodModel> pod);
    void enter(int slot);
    void leave(int slot);
    void restart(int slot);
    void onPodEvent(int slot, quint64 stay, PodEvent event);
    int nextDeviceNumber();
    const Place& place(int slot) const;

    Testbed m_testbed;
    SysfsTree m_tree;
    UeventSender m_uevents;
    std::array<Place, kSlotCount> m_places;
    std::vector<bool> m_device_number_used;
    int m_next_device_number = 1;
    quint64 m_stays = 0;
};

Q_DECLARE_METATYPE(PodEvent)
