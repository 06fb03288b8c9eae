#include "privateroot/privateroot.h"

#include "common/companions.h"
#include "usbfs/serialnumbermemory.h"

namespace {

SandboxSettings sandboxFor(const BenchSettings& settings, const Scenario& scenario,
                           const BenchFolder& folder, const UsbBus& bus)
{
    SandboxSettings sandbox;
    sandbox.station_program = settings.station_program;
    sandbox.station_folder = folder.station();
    sandbox.launcher_folder = folder.launcher();
    sandbox.stick_folder = folder.stick();
    sandbox.stick_program = companions::stickProgram();
    sandbox.control_folder = folder.control();
    sandbox.tools_folder = companions::toolsFolder();
    sandbox.testbed_folder = bus.testbedDir();
    sandbox.download_space_bytes = scenario.download_space_bytes;
    sandbox.window = settings.window;
    return sandbox;
}

} // namespace

PrivateRoot::PrivateRoot(const BenchSettings& settings, const Scenario& scenario,
                         const BenchFolder& folder)
    : m_stick(folder.stick(), folder.control(), scenario.stick)
    , m_station(sandboxFor(settings, scenario, folder, m_bus), folder.log(), settings.echo_log)
    , m_screen_socket(folder.screenSocket())
{
    SerialNumberMemory::install(m_bus.testbed());
}

std::unique_ptr<Site> makePrivateRoot(const BenchSettings& settings, const Scenario& scenario,
                                      const BenchFolder& folder)
{
    return std::make_unique<PrivateRoot>(settings, scenario, folder);
}
