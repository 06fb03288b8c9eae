#pragma once

#include <QAnimationDriver>
#include <QQmlApplicationEngine>
#include <QTimer>

/// The pace of screens that the processor draws: Qt's own is a picture each 16 ms, which takes most
/// of a small board for fades of half a second and more. On the GUI thread, which owns it; ticks
/// only while something moves.
class PanelClock : public QAnimationDriver
{
    Q_OBJECT

public:
    static constexpr int kIntervalMs = 125;
    /// A change waits so long for others: thirty gauges that rise share a picture.
    static constexpr int kGatherMs = 40;

    /// Before the screens are loaded.
    PanelClock();
    /// Once they are loaded. Leaves a display that is drawn otherwise to the pace that Qt has for
    /// it.
    void pace(const QQmlApplicationEngine& screens);

protected:
    void start() override;
    void stop() override;

private:
    QTimer m_timer;
};
