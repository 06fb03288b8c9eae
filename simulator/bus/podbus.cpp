#include "bus/podbus.h"

PodBus::PodBus()
{
    qRegisterMetaType<PodEvent>();
    connect(this, &PodBus::podEvent, this, &PodBus::onPodEvent, Qt::QueuedConnection);
    for (int slot = 0; slot < kSlotCount; ++slot) {
        QTimer& timer = m_places.at(std::size_t(slot)).restart;
        timer.setSingleShot(true);
        connect(&timer, &QTimer::timeout, this, [this, slot] { restart(slot); });
    }
}

void PodBus::plug(int slot, const PodSettings& settings)
{
    Q_ASSERT(!plugged(slot));
    const quint64 stay = ++m_stays;
    auto pod = std::make_shared<PodModel>(settings);
    pod->setListener(
        [this, slot, stay](PodEvent event) { emit podEvent(slot, stay, event, QPrivateSignal()); });
    enter(slot, pod);
    Place& place = m_places.at(std::size_t(slot));
    place.pod = std::move(pod);
    place.stay = stay;
}

void PodBus::unplug(int slot)
{
    leave(slot);
    Place& place = m_places.at(std::size_t(slot));
    place.restart.stop();
    place.stay = 0;
}

PodReport PodBus::report(int slot) const
{
    PodReport report;
    if (const auto& pod = place(slot).pod)
        betweenTransfers([&] { report = pod->report(); });
    return report;
}

PodFlash PodBus::flash(int slot) const
{
    PodFlash flash;
    if (const auto& pod = place(slot).pod)
        betweenTransfers([&] { flash = pod->flash(); });
    return flash;
}

void PodBus::restart(int slot)
{
    betweenTransfers([&] { place(slot).pod->restart(); });
    enter(slot, place(slot).pod);
    emit happened(slot, PodEvent::Restarted);
}

void PodBus::onPodEvent(int slot, quint64 stay, PodEvent event)
{
    // The place may have been freed, and taken again, before this arrived.
    const bool leaves = event == PodEvent::Restarting || event == PodEvent::Vanished;
    if (leaves && place(slot).stay != stay)
        return;
    if (event == PodEvent::Restarting) {
        leave(slot);
        m_places.at(std::size_t(slot)).restart.start(place(slot).pod->settings().restart_time);
    }
    if (event == PodEvent::Vanished) {
        unplug(slot);
        emit podVanished(slot);
    }
    emit happened(slot, event);
}
