#include "shell/panelclock.h"

#include <QQuickWindow>
#include <QSGRendererInterface>

PanelClock::PanelClock()
{
    qputenv("QT_QPA_UPDATE_IDLE_TIME", QByteArray::number(kGatherMs));
    m_timer.setInterval(kIntervalMs);
    connect(&m_timer, &QTimer::timeout, this, &PanelClock::advance);
}

void PanelClock::pace(const QQmlApplicationEngine& screens)
{
    const auto* window = qobject_cast<QQuickWindow*>(screens.rootObjects().value(0));
    if (window != nullptr &&
        window->rendererInterface()->graphicsApi() == QSGRendererInterface::Software)
        install();
}

void PanelClock::start()
{
    m_timer.start();
    QAnimationDriver::start();
}

void PanelClock::stop()
{
    m_timer.stop();
    QAnimationDriver::stop();
}
