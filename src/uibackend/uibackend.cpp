#include "uibackend/uibackend.h"

#include <QFile>

#include <limits>

namespace {

// No caller sends it, so the first value of a slot always reaches the screen.
constexpr int never_sent = std::numeric_limits<int>::min();

template <typename T> bool change(T& shown, T value)
{
    if (shown == value)
        return false;
    shown = value;
    return true;
}

} // namespace

UIBackEnd::UIBackEnd(QObject* parent) : QObject(parent)
{
    m_sync_progress.fill(never_sent);
    m_upd_progress.fill(never_sent);
    m_charging_states.fill(never_sent);
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
    if (change(m_pod_connection[idx], connected))
        emit podConnectionChanged(idx, connected);
}

QByteArray UIBackEnd::readCurrentVersion()
{
    QFile file(QStringLiteral("version"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}
