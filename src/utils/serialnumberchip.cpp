#include "utils/serialnumberchip.h"

#include "utils/uniquefd.h"

#include <QDebug>
#include <QFile>

#include <linux/i2c-dev.h>
#include <sys/ioctl.h>

#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

namespace {

constexpr int SLAVE_ADDRESS = 0x51;
constexpr unsigned char EUI48_ADDRESS = 0xFA;
constexpr int EUI48_BYTES = 6;

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
    if (::ioctl(bus.get(), I2C_SLAVE, SLAVE_ADDRESS) < 0)
        throw std::runtime_error("Failed to acquire i2c bus");
    if (::write(bus.get(), &EUI48_ADDRESS, 1) != 1)
        throw std::runtime_error("Failed to write i2c bus");
    QByteArray eui48(EUI48_BYTES, '\0');
    if (::read(bus.get(), eui48.data(), EUI48_BYTES) != EUI48_BYTES)
        throw std::runtime_error("Failed to read i2c bus");
    return eui48;
}
