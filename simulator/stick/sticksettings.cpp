#include "stick/sticksettings.h"

#include <QDataStream>

QByteArray StickSettings::toBytes() const
{
    QByteArray bytes;
    QDataStream(&bytes, QIODevice::WriteOnly) << size_bytes << bytes_per_second << pull_at_byte
                                              << loses_from_byte << flips_at_byte << unreadable;
    return bytes;
}

StickSettings StickSettings::fromBytes(const QByteArray& bytes)
{
    StickSettings settings;
    QDataStream(bytes) >> settings.size_bytes >> settings.bytes_per_second >>
        settings.pull_at_byte >> settings.loses_from_byte >> settings.flips_at_byte >>
        settings.unreadable;
    return settings;
}
