#include "pod/initpacket.h"

#include <QCryptographicHash>
#include <QtEndian>

namespace {
constexpr int kSizeBytes = sizeof(quint32);
constexpr int kDigestBytes = 32;
} // namespace

InitPacket InitPacket::describing(const QByteArray& image, const QByteArray& rest)
{
    return {quint32(image.size()), QCryptographicHash::hash(image, QCryptographicHash::Sha256),
            rest};
}

std::optional<InitPacket> InitPacket::parse(const QByteArray& packet)
{
    if (packet.size() < kSizeBytes + kDigestBytes)
        return std::nullopt;
    return InitPacket{qFromLittleEndian<quint32>(packet.constData()),
                      packet.mid(kSizeBytes, kDigestBytes), packet.mid(kSizeBytes + kDigestBytes)};
}

QByteArray InitPacket::toBytes() const
{
    QByteArray size(kSizeBytes, '\0');
    qToLittleEndian(image_bytes, size.data());
    return size + image_sha256 + rest;
}
