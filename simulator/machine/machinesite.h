#pragma once

#include "machine/imagestick.h"
#include "machine/machinereport.h"
#include "machine/machinestation.h"
#include "machine/optdisk.h"
#include "machine/virtualmachine.h"
#include "site/benchfolder.h"
#include "site/benchsettings.h"
#include "site/site.h"

/// What not every machine has.
struct MachineExtras
{
    QString packages; ///< a folder of those to install; empty: the program as it was built
    quint64 disk_bytes = OptDisk::kUsualBytes;
    bool disk_mapped = false;   ///< the disk's device mapper target can be exchanged by the shell
    bool writes_logged = false; ///< all that is written to the disk, in MachineSite::writeLog()
};

/// A computer of the station's own, with a real kernel. When it is off, the bench's folders hold
/// what is on its disk and on its stick. Throws BadInput when it cannot be made.
class MachineSite : public Site
{
public:
    MachineSite(const BenchSettings& settings, const Scenario& scenario, const BenchFolder& folder,
                const Computer& computer, const MachineExtras& extras = {});

    PodBus& places() override { return m_machine.pods(); }
    BenchStick& stick() override { return m_stick; }
    Station& station() override { return m_station; }
    /// On emulated processors that may have half a real one.
    std::chrono::seconds quitPatience() const override { return std::chrono::minutes(2); }
    QString screenSocket() const override { return m_machine.screenSocket(); }

    MachineShell& shell() { return m_machine.shell(); }
    const OptDisk& disk() const { return m_disk; }
    /// As the kernel's dm-log-writes target has written it, see WriteLog.
    QString writeLog() const { return m_write_log; }

private:
    void unpack() const;

    OptDisk m_disk;
    QString m_write_log; ///< empty: there is none
    VirtualMachine m_machine;
    MachineReport m_report;
    ImageStick m_stick;
    MachineStation m_station;
};

SiteMaker machineMaker(const Computer& computer);
