#pragma once

#include "bench/benchfolder.h"
#include "bench/benchsettings.h"
#include "bench/site.h"
#include "machine/imagestick.h"
#include "machine/machinereport.h"
#include "machine/machinestation.h"
#include "machine/optdisk.h"
#include "machine/virtualmachine.h"

/// A computer of the station's own, with a real kernel. When it is off, the bench's folders hold
/// what is on its disk and on its stick. Throws BadInput when it cannot be made.
class MachineSite : public Site
{
public:
    /// The station is installed from the folder with packages, or else the program as it was built.
    MachineSite(const BenchSettings& settings, const Scenario& scenario, const BenchFolder& folder,
                const Computer& computer, const QString& packages = {});

    PodBus& places() override { return m_machine.pods(); }
    BenchStick& stick() override { return m_stick; }
    Station& station() override { return m_station; }
    /// On emulated processors that may have half a real one.
    std::chrono::seconds quitPatience() const override { return std::chrono::minutes(2); }
    QString screenSocket() const override { return m_machine.screenSocket(); }

    MachineShell& shell() { return m_machine.shell(); }

private:
    void unpack() const;

    OptDisk m_disk;
    VirtualMachine m_machine;
    MachineReport m_report;
    ImageStick m_stick;
    MachineStation m_station;
};

SiteMaker machineMaker(const Computer& computer);
