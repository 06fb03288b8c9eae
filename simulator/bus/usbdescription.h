#pragma once

#include "pod/podreport.h"
#include "pod/podsettings.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

/// What a USB device says about itself: its descriptors as it sends them (little-endian), its
/// strings (the first has index 1) and its speed. A value.
struct UsbDescription
{
    static constexpr int kControl = 0; ///< transfer types
    static constexpr int kBulk = 2;

    QByteArray device;
    QByteArray configuration; ///< with all its interfaces and endpoints
    QStringList strings;      ///< manufacturer, product, serial number
    int megabits_per_second;
    int ports; ///< of a hub; 0 for a pod

    static UsbDescription rootHub();
    static UsbDescription sevenPortHub();
    /// A CDC-ACM function: communication interface 0, data interface 1 with the bulk endpoints
    /// 0x01 OUT and 0x81 IN. The bootloader has the same one under another product number.
    static UsbDescription pod(PodMode mode, const PodSettings& settings);

    bool isHub() const { return ports > 0; }
    int interfaces() const;
    quint8 configurationValue() const { return quint8(configuration.at(5)); }
    /// Transfer type of the endpoint with this address, endpoint 0 included; none if there is none.
    std::optional<int> endpointType(int address) const;
    quint16 vendorId() const { return word(8); }
    quint16 productId() const { return word(10); }
    quint16 release() const { return word(12); }
    quint16 usbVersion() const { return word(2); }
    quint8 deviceByte(int offset) const { return quint8(device.at(offset)); }
    QByteArray stringDescriptor(int index) const;
    QByteArray hubDescriptor() const;

private:
    quint16 word(int offset) const;
};
