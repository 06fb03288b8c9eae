#pragma once

#include "uibackend/uibackend.h"
#include "usb/usbcontext.h"
#include "usbfs/usbbus.h"

#include <QByteArray>
#include <QTemporaryDir>

#include <memory>
#include <random>

/// What an update needs around it: the simulated bus under the real libusb of this process, and a
/// working directory with a package unpacked. Made anew for each test, on the test's thread.
class UpdateBench
{
public:
    struct Package
    {
        QByteArray image;
        QByteArray init;
    };

    UpdateBench();
    UpdateBench(const UpdateBench&) = delete;
    UpdateBench& operator=(const UpdateBench&) = delete;
    UpdateBench(UpdateBench&&) = delete;
    UpdateBench& operator=(UpdateBench&&) = delete;
    ~UpdateBench() = default;

    static QByteArray randomBytes(std::mt19937& random, int size_bytes);
    /// Little-endian.
    static QByteArray word(quint32 value);
    /// True when the decoder's deliberate row makes something else of a reply to this update.
    static bool aReplyIsMisread(const Package& package, const BootloaderSettings& bootloader);
    /// One of which none is.
    static Package plainPackage(const BootloaderSettings& bootloader, int image_bytes = 20'000);
    static void unpack(const Package& package);
    static PodSettings podInBootloader(PodFault fault = PodFault::None);

    UsbBus& bus() { return m_bus; }
    UIBackEnd& screen() { return m_screen; }
    /// Waits until libusb has it, or has it no more.
    UsbDeviceRef plug(int slot, const PodSettings& settings);
    void unplug(int slot);

    /// The pod in that place runs this image, since it was plugged in.
    bool updated(int slot, const Package& package) const;
    int refusals(int slot) const;

private:
    UsbDeviceRef find(int slot) const;

    QTemporaryDir m_dir;
    UsbBus m_bus;
    std::shared_ptr<UsbContext> m_context;
    UIBackEnd m_screen;
};
