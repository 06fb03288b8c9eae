#include "usb/usbcontext.h"

#include <utility>

UsbContext::UsbContext()
{
    if (libusb_init(&m_context) != LIBUSB_SUCCESS)
        m_context = nullptr;
}

UsbContext::~UsbContext()
{
    if (m_context != nullptr)
        libusb_exit(m_context);
}

UsbDeviceRef::UsbDeviceRef(std::shared_ptr<UsbContext> context, libusb_device* device)
    : m_context(std::move(context))
    , m_device(libusb_ref_device(device))
{
}

UsbDeviceRef::UsbDeviceRef(const UsbDeviceRef& other)
    : m_context(other.m_context)
    , m_device(other.m_device)
{
    if (m_device != nullptr)
        libusb_ref_device(m_device);
}

UsbDeviceRef::UsbDeviceRef(UsbDeviceRef&& other) noexcept
    : m_context(std::move(other.m_context))
    , m_device(std::exchange(other.m_device, nullptr))
{
}

UsbDeviceRef& UsbDeviceRef::operator=(UsbDeviceRef other) noexcept
{
    std::swap(m_context, other.m_context);
    std::swap(m_device, other.m_device);
    return *this;
}

UsbDeviceRef::~UsbDeviceRef()
{
    if (m_device != nullptr)
        libusb_unref_device(m_device);
}
