#pragma once

#include "pod/podmodel.h"

#include <QObject>

/// The thirty places of a station and the pods in them, whatever carries their bytes to it. Lives
/// on one thread, whose event loop must run; its signals come from there.
class PodBus : public QObject
{
    Q_OBJECT

public:
    static constexpr int kSlotCount = 30;

    /// The slot must be free.
    virtual void plug(int slot, const PodSettings& settings) = 0;
    /// Nothing happens when the slot is free.
    virtual void unplug(int slot) = 0;
    virtual bool plugged(int slot) const = 0;
    /// Of the last pod of that slot.
    virtual PodReport report(int slot) const = 0;

Q_SIGNALS:
    void readoutBegun(int slot);
    void readoutCompleted(int slot);
    void podErased(int slot);
    void podCharged(int slot);
    /// The pod unplugged itself.
    void podVanished(int slot);
};
