#pragma once

#include "usb/usbcontext.h"

#include <cstdint>
#include <memory>
#include <utility>

/// libusb's promise to report the arrivals and removals of one kind of device, taken back on
/// destruction. Move-only, reentrant. A registration that fails is logged and is not active.
class HotplugRegistration
{
public:
    HotplugRegistration() = default;
    /// What is on the bus already is reported at once.
    HotplugRegistration(std::shared_ptr<UsbContext> context, uint16_t vendor, uint16_t product,
                        libusb_hotplug_callback_fn callback, void* user_data);
    HotplugRegistration(HotplugRegistration&& other) noexcept { *this = std::move(other); }
    HotplugRegistration& operator=(HotplugRegistration&& other) noexcept;
    HotplugRegistration(const HotplugRegistration&) = delete;
    HotplugRegistration& operator=(const HotplugRegistration&) = delete;
    ~HotplugRegistration();

    bool active() const { return m_context != nullptr; }

private:
    std::shared_ptr<UsbContext> m_context; ///< null while not active
    libusb_hotplug_callback_handle m_handle = 0;
};
