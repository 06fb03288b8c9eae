#include "usbredir/podports.h"

#include "bus/controlrequest.h"
#include "common/badinput.h"

#include <QDir>

UsbFunction podFunction(const std::shared_ptr<PodModel>& pod)
{
    const UsbDescription description = UsbDescription::pod(pod->mode(), pod->settings());
    const auto control = [=](const QByteArray& setup, const QByteArray& data) {
        noteSerialLine(*pod, setup, data);
        return answerControlRequest(description, setup);
    };
    return {description, control, pod};
}

PodPorts::PodPorts(const QString& folder)
{
    for (int slot = 0; slot < kSlotCount; ++slot)
        m_ports.at(std::size_t(slot)) =
            std::make_unique<RedirPort>(QDir(folder).filePath(socketName(slot)));
}

void PodPorts::enter(int slot, const std::shared_ptr<PodModel>& pod)
{
    const PodFault fault = pod->settings().fault;
    if (fault == PodFault::ClaimBusy || fault == PodFault::DriverBusy)
        throw BadInput(QStringLiteral("a real kernel cannot be told who has a pod's interface"));
    m_ports.at(std::size_t(slot))->plug(podFunction(pod));
}

void PodPorts::leave(int slot)
{
    m_ports.at(std::size_t(slot))->unplug();
}
