#pragma once

#include "bus/usbdescription.h"

#include <QByteArray>

#include <optional>

/// One device that a redirected port can hold: what it says about itself, its answers on endpoint 0
/// and its bulk data. Lives on the port's thread, owned by whoever plugs it; it never fails.
class UsbFunction
{
public:
    UsbFunction() = default;
    UsbFunction(const UsbFunction&) = delete;
    UsbFunction& operator=(const UsbFunction&) = delete;
    UsbFunction(UsbFunction&&) = delete;
    UsbFunction& operator=(UsbFunction&&) = delete;
    virtual ~UsbFunction() = default;

    virtual const UsbDescription& description() const = 0;
    /// 0: as fast as it goes.
    virtual quint32 bytesPerSecond() const { return 0; }

    /// The data of a read, nothing for an accepted write, no value for a stall. `setup` is the
    /// setup packet's 8 bytes, `data` what a write brings.
    virtual std::optional<QByteArray> control(const QByteArray& setup, const QByteArray& data) = 0;
    virtual void receive(const QByteArray& /*from_host*/) {}
    /// Length of the next transfer to a host that asks for `at_most_bytes`; 0 while there is none.
    virtual int nextTransferBytes(int /*at_most_bytes*/) const { return 0; }
    /// Makes that transfer and returns its length.
    virtual int send(char* /*out*/, int /*at_most_bytes*/) { return 0; }
    /// It left the bus in the middle of the transfer just made, which then never arrives.
    virtual bool leftInTransfer() const { return false; }
};
