#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <optional>

/// What a bootloader is told about an image before it arrives, as the packet says it:
///
/// | bytes   | content                                                                 |
/// |---------|-------------------------------------------------------------------------|
/// | 0 to 3  | size of the image in bytes, little-endian                               |
/// | 4 to 35 | SHA-256 of the image                                                    |
/// | 36 on   | anything, where a packet from the factory has versions and a signature  |
///
/// A value.
struct InitPacket
{
    quint32 image_bytes = 0;
    QByteArray image_sha256;
    QByteArray rest;

    static InitPacket describing(const QByteArray& image, const QByteArray& rest = {});
    /// No value when the packet is too short.
    static std::optional<InitPacket> parse(const QByteArray& packet);
    QByteArray toBytes() const;
};
