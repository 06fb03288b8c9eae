#pragma once

#include "common/slotset.h"
#include "pod/podmodel.h"

#include <QObject>
#include <QTimer>

#include <array>
#include <functional>
#include <memory>

/// The thirty places of a station and the pods in them, whatever carries their bytes to it. Lives
/// on one thread, whose event loop must run; its signals come from there.
class PodBus : public QObject
{
    Q_OBJECT

public:
    static constexpr int kSlotCount = ::kSlotCount;

    PodBus();

    /// The slot must be free.
    void plug(int slot, const PodSettings& settings);
    /// Nothing happens when the slot is free.
    void unplug(int slot);
    /// Also while the pod has left the bus to restart.
    bool plugged(int slot) const { return place(slot).stay != 0; }
    /// Of the last pod of that slot.
    PodReport report(int slot) const;
    /// What that pod keeps when it is unplugged.
    PodFlash flash(int slot) const;

signals:
    /// Whatever becomes of a pod, when the bus has done its part.
    void happened(int slot, PodEvent event);
    /// The pod unplugged itself.
    void podVanished(int slot);

    /// Carries what a pod tells out of its transfer, and over to this object's thread; not for
    /// others.
    void podEvent(int slot, quint64 stay, PodEvent event, QPrivateSignal);

protected:
    /// The pod comes to the bus, in the mode in which it is.
    virtual void enter(int slot, const std::shared_ptr<PodModel>& pod) = 0;
    /// Nothing happens when no pod is on the bus there.
    virtual void leave(int slot) = 0;
    /// Does it while no transfer touches a pod.
    virtual void betweenTransfers(const std::function<void()>& work) const { work(); }

private:
    struct Place
    {
        quint64 stay = 0;              ///< tells one plugging from the next; 0: free
        std::shared_ptr<PodModel> pod; ///< kept for its report when it has left
        QTimer restart;                ///< runs while the pod is to come back
    };

    void restart(int slot);
    void onPodEvent(int slot, quint64 stay, PodEvent event);
    const Place& place(int slot) const { return m_places.at(std::size_t(slot)); }

    std::array<Place, kSlotCount> m_places;
    quint64 m_stays = 0;
};

Q_DECLARE_METATYPE(PodEvent)
