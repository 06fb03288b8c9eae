#pragma once

#include "pod/podmodel.h"
#include "usbredir/redirport.h"

#include <QObject>

#include <array>
#include <memory>

/// The thirty places of a machine's station: each a redirected port with or without a pod. Lives on
/// one thread, whose event loop must run; its signals come from there. Throws std::runtime_error
/// when the sockets cannot be made.
class PodPorts : public QObject
{
    Q_OBJECT

public:
    static constexpr int kSlotCount = 30;

    /// The sockets are made in this folder.
    explicit PodPorts(const QString& folder);

    QString socketPath(int slot) const { return place(slot).port->socketPath(); }

    /// The slot must be free.
    void plug(int slot, const PodSettings& settings);
    /// Nothing happens when the slot is free.
    void unplug(int slot);
    bool plugged(int slot) const { return place(slot).port->plugged(); }
    /// Of the last pod of that slot.
    PodReport report(int slot) const;

Q_SIGNALS:
    void readoutBegun(int slot);
    void readoutCompleted(int slot);
    void podErased(int slot);
    void podCharged(int slot);
    /// The pod unplugged itself.
    void podVanished(int slot);

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
