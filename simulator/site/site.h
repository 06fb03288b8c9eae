#pragma once

#include "bus/podbus.h"
#include "site/benchstick.h"
#include "site/station.h"

#include <chrono>

/// Where a station runs, with all that is around it: its places for pods, its stick, its screen.
/// Lives on the bench's thread, owned by the bench.
class Site
{
public:
    Site() = default;
    Q_DISABLE_COPY_MOVE(Site)
    virtual ~Site() = default;

    virtual PodBus& places() = 0;
    virtual BenchStick& stick() = 0;
    virtual Station& station() = 0;
    /// A station that was asked to quit and is still there by then never will.
    virtual std::chrono::seconds quitPatience() const = 0;
    /// Where the screen is to be seen and touched, while the station runs.
    virtual QString screenSocket() const = 0;
    /// The bench's folders hold every byte as soon as the station has written it; else, once the
    /// station has ended.
    virtual bool foldersAreCurrent() const { return false; }
};
