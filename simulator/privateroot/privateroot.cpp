#include "privateroot/privateroot.h"

#include "common/neededprograms.h"
#include "usbfs/serialnumbermemory.h"

PrivateRoot::PrivateRoot(const BenchSettings& settings, const Scenario& scenario,
                         const BenchFolder& folder)
    : m_stick(folder.stick(), folder.control(), scenario.stick)
    , m_station(settings, folder, m_bus.testbedDir(), scenario.download_space_bytes)
    , m_screen_socket(folder.screenSocket())
{
    needProgram(QStringLiteral("bwrap"), QStringLiteral("bubblewrap"));
    needProgram(QStringLiteral("socat"), QStringLiteral("socat"));
    SerialNumberMemory::install(m_bus.testbed());
}

std::unique_ptr<Site> makePrivateRoot(const BenchSettings& settings, const Scenario& scenario,
                                      const BenchFolder& folder)
{
    return std::make_unique<PrivateRoot>(settings, scenario, folder);
}
