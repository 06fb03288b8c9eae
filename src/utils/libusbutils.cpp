#include "utils/libusbutils.h"

#include "utils/libusbutilsexception.h"

#include <QDebug>

#include <array>

namespace {

constexpr unsigned char kEndpointOut = 0x01;
constexpr unsigned char kEndpointIn = 0x81;
constexpr int kWriteFailed = 6;
constexpr int kReadFailed = 7;

QString withErrorName(const char* text, int error)
{
    return QLatin1String(text) + QLatin1String(libusb_error_name(error));
}

void claimAcmInterface(libusb_device_handle* handle, int interface)
{
    if (libusb_kernel_driver_active(handle, interface) != 0)
        libusb_detach_kernel_driver(handle, interface);
    const int error = libusb_claim_interface(handle, interface);
    if (error != LIBUSB_SUCCESS)
        throw LibUsbUtilsException(withErrorName("Error claiming interface: ", error),
                                   LibUsbUtilsException::InterfaceNotClaimed);
}

} // namespace

void LibUsbUtils::openDevice(libusb_device* dev, libusb_device_handle*& handle)
{
    if (libusb_open(dev, &handle) != LIBUSB_SUCCESS)
        throw LibUsbUtilsException(QStringLiteral("Failed to open device"),
                                   LibUsbUtilsException::OpenFailed);
    if (libusb_kernel_driver_active(handle, 0) != 0 &&
        libusb_detach_kernel_driver(handle, 0) != LIBUSB_SUCCESS)
        throw LibUsbUtilsException(QStringLiteral("Error detaching kernel driver"),
                                   LibUsbUtilsException::DriverNotDetached);
    if (libusb_claim_interface(handle, 0) != LIBUSB_SUCCESS)
        throw LibUsbUtilsException(QStringLiteral("Error claiming interface"),
                                   LibUsbUtilsException::InterfaceNotClaimed);
}

void LibUsbUtils::configACM(libusb_device* dev, libusb_device_handle*& handle)
{
    int error = libusb_open(dev, &handle);
    if (error != LIBUSB_SUCCESS)
        throw LibUsbUtilsException(withErrorName("Failed to open device: ", error),
                                   LibUsbUtilsException::OpenFailed);
    claimAcmInterface(handle, 0);
    claimAcmInterface(handle, 1);

    // SET_CONTROL_LINE_STATE: wValue bit 0 is DTR, bit 1 is RTS.
    error = libusb_control_transfer(handle, 0x21, 0x22, 0x0003, 0, nullptr, 0, 0);
    if (error != LIBUSB_SUCCESS)
        throw LibUsbUtilsException(withErrorName("Error during control transfer: ", error),
                                   LibUsbUtilsException::ControlTransferFailed);

    // SET_LINE_CODING: dwDTERate 115200 little-endian, 1 stop bit, no parity, 8 data bits. Pods
    // work at any coding, so its result deliberately does not count.
    std::array<unsigned char, 7> coding{0x00, 0xC2, 0x01, 0x00, 0x00, 0x00, 0x08};
    libusb_control_transfer(handle, 0x21, 0x20, 0, 0, coding.data(), coding.size(), 0);
}

void LibUsbUtils::closeDevice(libusb_device_handle*& handle)
{
    if (handle == nullptr)
        throw LibUsbUtilsException(QStringLiteral("Error closing device, dev handle is null"),
                                   LibUsbUtilsException::NotClosed);
    if (libusb_release_interface(handle, 0) != LIBUSB_SUCCESS)
        throw LibUsbUtilsException(QStringLiteral("Error releasing interface"),
                                   LibUsbUtilsException::NotClosed);
    // Interface 1, where it was claimed too, is given back by libusb_close.
    libusb_attach_kernel_driver(handle, 0);
    libusb_close(handle);
    handle = nullptr;
}

void LibUsbUtils::forceCloseDevice(libusb_device_handle*& handle)
{
    if (handle == nullptr)
        return;
    libusb_release_interface(handle, 0);
    libusb_attach_kernel_driver(handle, 0);
    libusb_close(handle);
    handle = nullptr;
}

int LibUsbUtils::writeData(libusb_device_handle* handle, const QByteArray& data, int timeout)
{
    // libusb never writes to the buffer of an OUT transfer, it only lacks the const.
    auto* bytes = const_cast<char*>(data.constData());
    return writeData(handle, reinterpret_cast<uint8_t*>(bytes), data.size(), timeout);
}

int LibUsbUtils::writeData(libusb_device_handle* handle, uint8_t* buf, int len, int timeout)
{
    int transferred = 0;
    const int error = libusb_bulk_transfer(handle, kEndpointOut, buf, len, &transferred, timeout);
    if (error == LIBUSB_SUCCESS)
        return transferred;
    qDebug().noquote() << withErrorName("Failed to write datas: ", error) << kWriteFailed
                       << " Bytes written:" << transferred << "Expected:" << len;
    return -1;
}

int LibUsbUtils::readData(libusb_device_handle* handle, QByteArray& data, int timeout)
{
    return readData(handle, reinterpret_cast<uint8_t*>(data.data()), data.size(), timeout);
}

int LibUsbUtils::readData(libusb_device_handle* handle, uint8_t* buf, int len, int timeout)
{
    int transferred = 0;
    const int error = libusb_bulk_transfer(handle, kEndpointIn, buf, len, &transferred, timeout);
    if (error == LIBUSB_SUCCESS)
        return transferred;
    qDebug().noquote() << withErrorName("Failed to read datas: ", error) << kReadFailed
                       << " Bytes read:" << transferred << "Expected:" << len;
    return -1;
}
