#include "usbredir/podports.h"

#include "common/badinput.h"
#include "usbredir/podfunction.h"

PodPorts::PodPorts(const QString& folder)
{
    for (int slot = 0; slot < kSlotCount; ++slot)
        m_ports.at(std::size_t(slot)) =
            std::make_unique<RedirPort>(QStringLiteral("%1/pod%2").arg(folder).arg(slot));
}

void PodPorts::enter(int slot, const std::shared_ptr<PodModel>& pod)
{
    const PodFault fault = pod->settings().fault;
    if (fault == PodFault::ClaimBusy || fault == PodFault::DriverBusy)
        throw BadInput(QStringLiteral("a real kernel cannot be told who has a pod's interface"));
    m_ports.at(std::size_t(slot))->plug(std::make_unique<PodFunction>(pod));
}

void PodPorts::leave(int slot)
{
    m_ports.at(std::size_t(slot))->unplug();
}
