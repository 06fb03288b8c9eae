#include "usb/usbhandle.h"

#include "utils/libusbutils.h"

void UsbHandle::close()
{
    LibUsbUtils().forceCloseDevice(m_handle);
}

libusb_device_handle*& UsbHandle::receive()
{
    close();
    return m_handle;
}
