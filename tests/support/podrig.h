#pragma once

#include "uibackend/uibackend.h"
#include "usb/usbcontext.h"
#include "usbfs/usbbus.h"

#include <QByteArray>
#include <QTemporaryDir>

#include <memory>

/// What pods need around them: the simulated bus under the real libusb of this process, and a
/// working directory, which an update's package is unpacked to. Made anew for each test, on the
/// test's thread.
class PodRig
{
public:
    struct Package
    {
        QByteArray image;
        QByteArray init;
    };

    PodRig();
    Q_DISABLE_COPY_MOVE(PodRig)
    ~PodRig() = default;

    /// Little-endian.
    static QByteArray word(quint32 value);
    /// A byte 0xDB, after which the station deliberately gives an update up.
    static bool aReplyHoldsEscape(const Package& package, const BootloaderSettings& bootloader);
    /// One of which none is.
    static Package plainPackage(const BootloaderSettings& bootloader, int image_bytes = 20'000);
    static void unpack(const Package& package);
    static PodSettings podInBootloader(PodFault fault = PodFault::None);

    UsbBus& bus() { return m_bus; }
    /// Of this process, whose devices these are.
    libusb_context* context() const { return m_context->get(); }
    UIBackEnd& screen() { return m_screen; }
    /// Waits until libusb has it, or has it no more; no device when that takes too long.
    UsbDeviceRef plug(int slot, const PodSettings& settings);
    void unplug(int slot);
    /// The device behind these ports, from the root hub on; that hub itself behind none.
    UsbDeviceRef find(const QList<int>& ports) const;

    /// The pod in that place runs this image, since it was plugged in.
    bool updated(int slot, const Package& package) const;
    int refusals(int slot) const;

private:
    UsbDeviceRef await(int slot, bool there) const;

    QTemporaryDir m_dir;
    UsbBus m_bus;
    std::shared_ptr<UsbContext> m_context;
    UIBackEnd m_screen;
};
