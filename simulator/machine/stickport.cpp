#include "machine/stickport.h"

#include "machine/qmpclient.h"

#include <QJsonObject>

namespace {

const QString kId = QStringLiteral("stick");
/// A place of the stick's own, beside the hubs.
const QString kPort = QStringLiteral("2");
const QString kAdd = QStringLiteral("device_add");
const QString kRemove = QStringLiteral("device_del");

} // namespace

StickPort::StickPort(QmpClient& monitor)
    : m_monitor(monitor)
{
    connect(&monitor, &QmpClient::happened, this,
            [this](const QString& event, const QJsonObject& data) {
                if (event == QLatin1String("DEVICE_DELETED") &&
                    data.value(QLatin1String("device")).toString() == kId)
                    noteMoved(false);
            });
    connect(&monitor, &QmpClient::refused, this, [this](const QString& command) {
        if (command == kAdd || command == kRemove) {
            m_wanted = m_present;
            noteMoved(m_present);
        }
    });
}

void StickPort::powerOn()
{
    m_powered = true;
    noteMoved(false);
}

void StickPort::powerOff()
{
    m_powered = false;
}

void StickPort::setInserted(bool inserted)
{
    m_wanted = inserted;
    move();
}

void StickPort::move()
{
    if (!m_powered || m_moving || m_wanted == m_present)
        return;
    m_moving = true;
    if (m_wanted)
        m_monitor.execute(kAdd,
                          {{QStringLiteral("driver"), QStringLiteral("usb-storage")},
                           {QStringLiteral("id"), kId},
                           {QStringLiteral("drive"), QStringLiteral("stick")},
                           {QStringLiteral("bus"), QStringLiteral("usb.0")},
                           {QStringLiteral("port"), kPort}},
                          [this] { noteMoved(true); });
    else
        m_monitor.execute(kRemove, {{QStringLiteral("id"), kId}});
}

void StickPort::noteMoved(bool present)
{
    m_present = present;
    m_moving = false;
    move();
}
