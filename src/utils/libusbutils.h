#pragma once

#include <QByteArray>

#include <libusb-1.0/libusb.h>

#include <cstdint>

/// USB transport of one pod: opening, closing and single bulk transfers on endpoints 0x01 (out) and
/// 0x81 (in). Stateless and reentrant: different handles may be used on different threads, one
/// handle only on one. Time-outs are milliseconds; libusb takes 0 for an unlimited wait.
///
/// Opening and closing throw LibUsbUtilsException. A failed transfer is logged (6 write, 7 read)
/// and returned as -1, never thrown.
class LibUsbUtils
{
public:
    /// Opens the device and claims interface 0. When it throws after the open, the handle stays
    /// open and the caller closes it.
    void openDevice(libusb_device* dev, libusb_device_handle*& handle);

    /// Opens the device, claims interfaces 0 and 1 and sets up its CDC-ACM function: DTR and RTS
    /// on, 115200 baud, 8N1. When it throws after the open, the caller closes the handle.
    void configACM(libusb_device* dev, libusb_device_handle*& handle);

    void closeDevice(libusb_device_handle*& handle);

    /// As closeDevice, whatever fails; nothing on a null handle.
    void forceCloseDevice(libusb_device_handle*& handle);

    /// One bulk transfer each. The result is the number of bytes moved, which may be fewer than
    /// asked, or -1. The QByteArray form of readData asks for exactly data.size() bytes and never
    /// resizes: after a short read the tail keeps what it held.
    int writeData(libusb_device_handle* handle, const QByteArray& data, int timeout);
    int writeData(libusb_device_handle* handle, uint8_t* buf, int len, int timeout);
    int readData(libusb_device_handle* handle, QByteArray& data, int timeout);
    int readData(libusb_device_handle* handle, uint8_t* buf, int len, int timeout);
};
