#pragma once

#include <QMetaType>

#include <libusb-1.0/libusb.h>

#include <memory>

/// Owner of one libusb context. Reentrant; shared by all that hold one of its devices, so that it
/// is left only after the last of them.
class UsbContext
{
public:
    UsbContext();
    ~UsbContext();
    UsbContext(const UsbContext&) = delete;
    UsbContext& operator=(const UsbContext&) = delete;
    UsbContext(UsbContext&&) = delete;
    UsbContext& operator=(UsbContext&&) = delete;

    /// Null when libusb could not be initialised.
    libusb_context* get() const { return m_context; }

private:
    libusb_context* m_context = nullptr;
};

/// Counted reference on a libusb device: libusb's own device outlives its callback only while it is
/// referenced. Copies may live on any thread.
class UsbDeviceRef // NOLINT(cppcoreguidelines-special-member-functions): one assignment does both
{
public:
    UsbDeviceRef() = default;
    UsbDeviceRef(std::shared_ptr<UsbContext> context, libusb_device* device);
    UsbDeviceRef(const UsbDeviceRef& other);
    UsbDeviceRef(UsbDeviceRef&& other) noexcept;
    UsbDeviceRef& operator=(UsbDeviceRef other) noexcept;
    ~UsbDeviceRef();

    libusb_device* get() const { return m_device; }

private:
    std::shared_ptr<UsbContext> m_context;
    libusb_device* m_device = nullptr;
};

Q_DECLARE_METATYPE(UsbDeviceRef)
