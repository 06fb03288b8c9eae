#pragma once

#include <libusb-1.0/libusb.h>

#include <utility>

/// Owner of an open libusb handle: gives its interface back and closes it, whatever fails.
/// Move-only, reentrant, null while nothing is open.
class UsbHandle
{
public:
    UsbHandle() = default;
    explicit UsbHandle(libusb_device_handle* handle)
        : m_handle(handle)
    {
    }
    UsbHandle(UsbHandle&& other) noexcept
        : m_handle(std::exchange(other.m_handle, nullptr))
    {
    }
    UsbHandle& operator=(UsbHandle&& other) noexcept
    {
        std::swap(m_handle, other.m_handle);
        return *this;
    }
    UsbHandle(const UsbHandle&) = delete;
    UsbHandle& operator=(const UsbHandle&) = delete;
    ~UsbHandle() { close(); }

    libusb_device_handle* get() const { return m_handle; }
    void close();
    /// For what opens a device: closes first, and owns what is open even when that throws.
    libusb_device_handle*& receive();

private:
    libusb_device_handle* m_handle = nullptr;
};
