#include "usbredir/i2cadapter.h"

#include "bus/controlrequest.h"

#include <QtEndian>

namespace {

constexpr int kToInterface = 0x41;
constexpr int kFromInterface = 0xC1;

constexpr int kGetFunctionality = 1;
constexpr int kSetDelay = 2;
constexpr int kGetStatus = 3;
constexpr int kMessage = 4;
constexpr int kMessageFlags = 3;

constexpr char kAcknowledged = 1;
constexpr char kNotAcknowledged = 2;

/// Plain messages, and the system-management forms that can be made of them.
constexpr quint32 kFunctionality = 0x0EFF'0001; // I2C and emulated SMBus

quint16 word(const QByteArray& setup, int at)
{
    return qFromLittleEndian<quint16>(setup.constData() + at);
}

UsbDescription description()
{
    return {QByteArray::fromHex("12 01 1001 00 00 00 08 0304 31C6 0001 01 02 03 01"),
            QByteArray::fromHex("09 02 1200 01 01 00 80 32  09 04 00 00 00 00 00 00 00"),
            {QStringLiteral("Corvane"), QStringLiteral("I2C adapter"), QStringLiteral("1")},
            12,
            0};
}

} // namespace

UsbFunction I2cAdapter::function()
{
    const auto control = [adapter = I2cAdapter()](const QByteArray& setup,
                                                  const QByteArray& data) mutable {
        return adapter.control(setup, data);
    };
    return {description(), control, nullptr};
}

std::optional<QByteArray> I2cAdapter::control(const QByteArray& setup, const QByteArray& data)
{
    const int type = quint8(setup.at(0));
    return type == kToInterface || type == kFromInterface
               ? command(setup, data)
               : answerControlRequest(description(), setup);
}

std::optional<QByteArray> I2cAdapter::command(const QByteArray& setup, const QByteArray& data)
{
    switch (const int request = quint8(setup.at(1)); request) {
    case kSetDelay:
        return QByteArray();
    case kGetFunctionality: {
        QByteArray functionality(sizeof(kFunctionality), '\0');
        qToLittleEndian(kFunctionality, functionality.data());
        return functionality;
    }
    case kGetStatus:
        return QByteArray(1, m_status);
    default:
        if ((request & ~kMessageFlags) == kMessage)
            return message(setup, data);
        return std::nullopt;
    }
}

QByteArray I2cAdapter::message(const QByteArray& setup, const QByteArray& data)
{
    m_status = word(setup, 4) == MemoryChip::kAddress ? kAcknowledged : kNotAcknowledged;
    const bool read = quint8(setup.at(0)) == kFromInterface;
    const int length_bytes = word(setup, 6);
    if (m_status == kNotAcknowledged)
        return read ? QByteArray(length_bytes, '\xFF') : QByteArray();
    if (read)
        return m_chip.read(length_bytes);
    m_chip.write(data);
    return {};
}
