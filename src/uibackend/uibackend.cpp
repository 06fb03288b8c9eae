#include "uibackend/uibackend.h"

#include <QFile>

#include <limits>

namespace {

/// A value that no caller sends, so the first one of each slot always reaches the screen.
constexpr int kNeverSent = std::numeric_limits<int>::min();

template <typename T>
bool change(T& shown, T value)
{
    if (shown == value)
        return false;
    shown = value;
    return true;
}

} // namespace

UIBackEnd::UIBackEnd(QObject* parent)
    : QObject(parent)
{
    m_sync_progress.fill(kNeverSent);
    m_upd_progress.fill(kNeverSent);
    m_charging_states.fill(kNeverSent);
}

void UIBackEnd::setPodSyncProgress(int idx, int progress)
{
    if (change(m_sync_progress[idx], progress))
        emit podSyncProgressChanged(idx, progress);
}

void UIBackEnd::setPodUpdateProgress(int idx, int progress)
{
    if (change(m_upd_progress[idx], progress))
        emit podUpdateProgressChanged(idx, progress);
}

void UIBackEnd::setUpdateDone(int code)
{
    if (change(m_upd_code, code))
        emit updateDoneChanged(code);
}

void UIBackEnd::setSyncDone(int code)
{
    if (change(m_sync_code, code))
        emit syncDoneChanged(code);
}

void UIBackEnd::setChargingState(int idx, int state)
{
    if (change(m_charging_states[idx], state))
        emit chargingStateChanged(idx, state);
}

void UIBackEnd::setPodConnection(int idx, bool connected)
{
    // A pod that came in its bootloader is never shown as connected, and leaves all the same: also
    // when its update failed before the first percent.
    const bool leaves_gauge =
        !connected && (m_upd_progress[idx] != kNeverSent || m_sync_progress[idx] != kNeverSent);
    if (!change(m_pod_connection[idx], connected) && !leaves_gauge)
        return;
    // What the last pod showed is not what this one shows: its first values count again.
    m_sync_progress[idx] = m_upd_progress[idx] = m_charging_states[idx] = kNeverSent;
    emit podConnectionChanged(idx, connected);
}

QByteArray UIBackEnd::readCurrentVersion()
{
    QFile file(QStringLiteral("version"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}
