#include "main/serialnumberchip.h"

#include "system/uniquefd.h"

#include <QDebug>
#include <QFile>

#include <linux/i2c-dev.h>
#include <sys/ioctl.h>

#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

namespace {

constexpr int kSlaveAddress = 0x51;
constexpr unsigned char kEui48Address = 0xFA;
constexpr int kEui48Bytes = 6;

} // namespace

SerialNumberChip::SerialNumberChip(QString device_path)
    : m_device_path(std::move(device_path))
{
}

QByteArray SerialNumberChip::readEui48() const
{
    try {
        QByteArray eui48 = exchange();
        qDebug().noquote() << "Serial number:" << eui48.toHex().toUpper();
        return eui48;
    } catch (const std::runtime_error& e) {
        qDebug() << e.what();
        return {};
    }
}

QByteArray SerialNumberChip::exchange() const
{
    const UniqueFd bus(::open(QFile::encodeName(m_device_path).constData(), O_RDWR | O_CLOEXEC));
    if (!bus)
        throw std::runtime_error("Error opening i2c device");
    if (::ioctl(bus.get(), I2C_SLAVE, kSlaveAddress) < 0)
        throw std::runtime_error("Failed to acquire i2c bus");
    if (::write(bus.get(), &kEui48Address, 1) != 1)
        throw std::runtime_error("Failed to write i2c bus");
    QByteArray eui48(kEui48Bytes, '\0');
    if (::read(bus.get(), eui48.data(), kEui48Bytes) != kEui48Bytes)
        throw std::runtime_error("Failed to read i2c bus");
    return eui48;
}
