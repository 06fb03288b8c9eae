#include "main/place.h"

#include "main/corvane.h"
#include "main/pod.h"
#include "main/progress.h"

#include <QDebug>
#include <QThread>

#include <utility>

Place::Place(int idx, Corvane& corvane, std::chrono::milliseconds return_limit, QObject* parent)
    : QObject(parent)
    , m_idx(idx)
    , m_corvane(corvane)
    , m_slot(corvane.device_slots.at(idx))
    , m_return_limit(return_limit)
{
}

/// What the slot holds decides: a pod that came to its end by itself leaves a free place, too.
Place::State Place::state() const
{
    return m_slot.occupied() ? m_state : State::Free;
}

void Place::serve(const Hotplug& hotplug)
{
    if (state() == State::AwaitingVerdict) {
        m_held.push_back(hotplug);
        return;
    }
    const bool is_served = m_slot.device.get() == hotplug.dev.get();
    // libusb reports twice what came between its own start and the registration.
    if (hotplug.arrived && !is_served)
        onArrival(hotplug);
    // The device that left may not be the one served: two can report for one place.
    if (!hotplug.arrived && is_served && state() != State::Free)
        onRemoval(hotplug);
}

void Place::onArrival(const Hotplug& hotplug)
{
    if (state() == State::Free)
        startPod(hotplug);
    else if (m_slot.pod->getUpdating()) // else another pod's: two can report for one place
        onReturn(hotplug);
}

void Place::onReturn(const Hotplug& hotplug)
{
    serveAs(hotplug.dev);
    if (hotplug.dfu) {
        emit m_slot.pod->launchDfu(hotplug.dev);
        return;
    }
    // Deliberate: any ordinary pod in the place of one that is being updated counts as that one,
    // updated, although no bootloader may ever have been seen.
    emit m_slot.pod->setUpdateProgress(m_idx, progress::kFinished);
    emit m_slot.pod->updateDone(hotplug.dev);
    m_slot.pod->setUpdating(false);
}

void Place::onRemoval(const Hotplug& hotplug)
{
    if (!m_slot.pod->getUpdating()) {
        end();
        if (!hotplug.dfu) // deliberate: the removal of a bootloader is no connection event
            emit podConnectionEvent();
        return;
    }
    if (!hotplug.dfu) {
        m_state = State::AwaitingReturn;
        return;
    }
    // The bootloader leaves right after its last reply, which the worker may not have seen yet:
    // only the worker can say whether this is the end of an update or a pod that was pulled.
    m_state = State::AwaitingVerdict;
    m_back_by = QDeadlineTimer(m_return_limit);
    emit m_slot.pod->bootloaderLeft(hotplug.dev);
}

void Place::onRestarting(const UsbDeviceRef& dev)
{
    // It may have come back already, as another device.
    if (state() == State::Free || m_slot.device.get() != dev.get())
        return;
    m_back_by = QDeadlineTimer(m_return_limit);
    if (m_state == State::Served)
        m_state = State::Restarting;
}

void Place::onUpdateJudged(const UsbDeviceRef& dev, bool done)
{
    if (state() != State::AwaitingVerdict || m_slot.device.get() != dev.get())
        return;
    m_state = State::AwaitingReturn;
    if (!done)
        end();
    serveHeld();
}

void Place::serveHeld()
{
    for (const Hotplug& hotplug : std::exchange(m_held, {}))
        serve(hotplug);
}

void Place::giveBackIfOverdue()
{
    if (state() == State::Free || !m_back_by.hasExpired())
        return;
    if (m_state == State::Restarting) {
        giveUpRestart();
        return;
    }
    qInfo() << "Pod did not come back from its restart, index:" << m_idx;
    end();
    emit podConnectionEvent();
    serveHeld();
}

void Place::giveUpRestart()
{
    qInfo() << "Pod did not restart, index:" << m_idx;
    serveAs(m_slot.device);
    // Still plugged in: its removal is that of any pod now.
    m_slot.pod->setUpdating(false);
    emit m_slot.pod->setSyncProgress(m_idx, progress::kFailed);
}

void Place::startPod(const Hotplug& hotplug)
{
    m_slot.start(m_idx, hotplug.dev, m_corvane, m_corvane.uibackend, hotplug.dfu, [this](Pod* pod) {
        connect(pod, &Pod::restarting, this, &Place::onRestarting);
        connect(pod, &Pod::updateJudged, this, &Place::onUpdateJudged);
    });
    if (!m_slot.occupied())
        return;
    serveAs(hotplug.dev);
    m_held.clear();
    emit workerStarted(m_slot.workThread);
    ++m_corvane.nb_pods_connected;
    if (!hotplug.dfu) // deliberate: one that comes in its bootloader is not shown as connected
        emit m_corvane.podConnection(m_idx, true);
    emit podConnectionEvent();
}

void Place::serveAs(const UsbDeviceRef& dev)
{
    m_slot.device = dev;
    m_state = State::Served;
    m_back_by = QDeadlineTimer(QDeadlineTimer::Forever);
}

void Place::end()
{
    if (state() == State::Free)
        return;
    m_slot.pod->disconnectScreen();
    m_slot.workThread->requestInterruption();
    emit m_slot.pod->finished();
    m_slot.clean();
    --m_corvane.nb_pods_connected;
    emit m_corvane.podConnection(m_idx, false);
}
