#pragma once

#include <QByteArray>
#include <QString>

/// The station's serial-number memory on an I2C bus: slave 0x51, EUI-48 at 0xFA. Reentrant, blocks
/// for one short bus exchange. A failure is logged and gives an empty result, never a partial one.
class SerialNumberChip
{
public:
    explicit SerialNumberChip(QString device_path);

    /// 6 bytes, in the order in which the chip holds them.
    QByteArray readEui48() const;

private:
    QByteArray exchange() const;

    QString m_device_path;
};
