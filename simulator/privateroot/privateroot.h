#pragma once

#include "privateroot/sandboxstation.h"
#include "privateroot/servedstick.h"
#include "scenario/scenario.h"
#include "site/benchfolder.h"
#include "site/benchsettings.h"
#include "site/site.h"
#include "usbfs/usbbus.h"

/// A private root of this machine, with the simulated bus. Throws BadInput when it cannot be made.
class PrivateRoot : public Site
{
public:
    PrivateRoot(const BenchSettings& settings, const Scenario& scenario, const BenchFolder& folder);

    PodBus& places() override { return m_bus; }
    BenchStick& stick() override { return m_stick; }
    SandboxStation& station() override { return m_station; }
    std::chrono::seconds quitPatience() const override { return std::chrono::minutes(2); }
    QString screenSocket() const override { return m_screen_socket; }
    bool foldersAreCurrent() const override { return true; }

private:
    UsbBus m_bus;
    ServedStick m_stick;
    SandboxStation m_station;
    QString m_screen_socket;
};
