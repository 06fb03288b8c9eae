#pragma once

#include <QByteArray>
#include <QObject>

#include <array>

/// The only way from the station's logic to the screens: turns each change of a shown value into a
/// signal. Lives on the GUI thread and belongs to main; other threads reach its slots queued.
/// Slot indices run from 0 to 29 and are the caller's to guarantee. Nothing here fails.
class UIBackEnd : public QObject
{
    Q_OBJECT

public:
    static constexpr int kSlotCount = 30;

    explicit UIBackEnd(QObject* parent = nullptr);

signals:
    void podSyncProgressChanged(int idx, int progress);
    void podUpdateProgressChanged(int idx, int progress);
    void updateDoneChanged(int code);
    void syncDoneChanged(int code);
    void chargingStateChanged(int idx, int state);
    void podConnectionChanged(int idx, bool connected);

public slots:
    void setPodSyncProgress(int idx, int progress);
    void setPodUpdateProgress(int idx, int progress);
    void setUpdateDone(int code);
    void setSyncDone(int code);
    void setChargingState(int idx, int state);
    void setPodConnection(int idx, bool connected);
    /// The whole of the file "version" in the working directory, empty when there is none.
    QByteArray readCurrentVersion();

private:
    using SlotValues = std::array<int, kSlotCount>;

    SlotValues m_sync_progress{};
    SlotValues m_upd_progress{};
    SlotValues m_charging_states{};
    std::array<bool, kSlotCount> m_pod_connection{};
    int m_upd_code = 0;
    int m_sync_code = 0;
};
