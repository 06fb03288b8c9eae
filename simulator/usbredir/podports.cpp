#include "usbredir/podports.h"

#include "bench/badinput.h"
#include "usbredir/podfunction.h"

PodPorts::PodPorts(const QString& folder)
{
    for (int slot = 0; slot < kSlotCount; ++slot)
        m_places.at(std::size_t(slot)).port =
            std::make_unique<RedirPort>(QStringLiteral("%1/pod%2").arg(folder).arg(slot));
}

void PodPorts::plug(int slot, const PodSettings& settings)
{
    if (settings.fault == PodFault::ClaimBusy || settings.fault == PodFault::DriverBusy)
        throw BadInput(QStringLiteral("a real kernel cannot be told who has a pod's interface"));
    Place& place = m_places.at(std::size_t(slot));
    place.stay = ++m_stays;
    place.pod = std::make_shared<PodModel>(settings);
    place.pod->setListener([this, slot, stay = place.stay](PodEvent event) {
        // Out of the transfer in which the pod tells it.
        QMetaObject::invokeMethod(
            this, [=] { onPodEvent(slot, stay, event); }, Qt::QueuedConnection);
    });
    place.port->plug(std::make_unique<PodFunction>(place.pod));
}

void PodPorts::unplug(int slot)
{
    place(slot).port->unplug();
}

PodReport PodPorts::report(int slot) const
{
    return place(slot).pod ? place(slot).pod->report() : PodReport();
}

void PodPorts::onPodEvent(int slot, quint64 stay, PodEvent event)
{
    switch (event) {
    case PodEvent::ReadoutBegun:
        Q_EMIT readoutBegun(slot);
        break;
    case PodEvent::ReadoutCompleted:
        Q_EMIT readoutCompleted(slot);
        break;
    case PodEvent::Erased:
        Q_EMIT podErased(slot);
        break;
    case PodEvent::Charged:
        Q_EMIT podCharged(slot);
        break;
    case PodEvent::Vanished:
        // The place may have been freed, and taken again, before this arrived.
        if (place(slot).stay != stay)
            break;
        unplug(slot);
        Q_EMIT podVanished(slot);
        break;
    }
}
