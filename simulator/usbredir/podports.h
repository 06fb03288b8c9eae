#pragma once

#include "bus/podbus.h"
#include "usbredir/redirport.h"

#include <array>
#include <memory>

/// A pod as a redirected device.
UsbFunction podFunction(const std::shared_ptr<PodModel>& pod);

/// The places of a machine's station, each a redirected port. Throws BadInput when the sockets
/// cannot be made, and for a fault that a real kernel cannot be made to have.
class PodPorts : public PodBus
{
    Q_OBJECT

public:
    /// The sockets are made in this folder.
    explicit PodPorts(const QString& folder);

    /// In that folder.
    static QString socketName(int slot) { return QStringLiteral("pod%1").arg(slot); }

protected:
    void enter(int slot, const std::shared_ptr<PodModel>& pod) override;
    void leave(int slot) override;

private:
    std::array<std::unique_ptr<RedirPort>, kSlotCount> m_ports;
};
