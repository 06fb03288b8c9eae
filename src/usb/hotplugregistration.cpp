#include "usb/hotplugregistration.h"

#include <QDebug>

HotplugRegistration::HotplugRegistration(std::shared_ptr<UsbContext> context, uint16_t vendor,
                                         uint16_t product, libusb_hotplug_callback_fn callback,
                                         void* user_data)
    : m_context(std::move(context))
{
    const int error = libusb_hotplug_register_callback(
        m_context->get(), LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED | LIBUSB_HOTPLUG_EVENT_DEVICE_LEFT,
        LIBUSB_HOTPLUG_ENUMERATE, vendor, product, LIBUSB_HOTPLUG_MATCH_ANY, callback, user_data,
        &m_handle);
    if (error == LIBUSB_SUCCESS)
        return;
    qCritical() << "No USB hot-plug:" << libusb_error_name(error);
    m_context.reset();
}

HotplugRegistration& HotplugRegistration::operator=(HotplugRegistration&& other) noexcept
{
    std::swap(m_context, other.m_context);
    std::swap(m_handle, other.m_handle);
    return *this;
}

HotplugRegistration::~HotplugRegistration()
{
    if (active())
        libusb_hotplug_deregister_callback(m_context->get(), m_handle);
}
