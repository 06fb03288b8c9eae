#pragma once

#include "usb/podbus.h"
#include "usbredir/redirport.h"

#include <array>
#include <memory>

/// The thirty places of a machine's station: each a redirected port with or without a pod. Lives on
/// one thread, whose event loop must run; its signals come from there. Throws BadInput
/// when the sockets cannot be made.
class PodPorts : public PodBus
{
    Q_OBJECT

public:
    /// The sockets are made in this folder.
    explicit PodPorts(const QString& folder);

    QString socketPath(int slot) const { return place(slot).port->socketPath(); }

    /// Throws BadInput for a pod that the kernel would have to treat as its fault says.
    void plug(int slot, const PodSettings& settings) override;
    void unplug(int slot) override;
    bool plugged(int slot) const override { return place(slot).port->plugged(); }
    PodReport report(int slot) const override;

private:
    struct Place
    {
        std::unique_ptr<RedirPort> port;
        std::shared_ptr<PodModel> pod; ///< kept for its report when it has left
        quint64 stay = 0;              ///< tells one plugging from the next
    };

    void onPodEvent(int slot, quint64 stay, PodEvent event);
    const Place& place(int slot) const { return m_places.at(std::size_t(slot)); }

    std::array<Place, kSlotCount> m_places;
    quint64 m_stays = 0;
};
