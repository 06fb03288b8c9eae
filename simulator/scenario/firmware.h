#pragma once

#include <QByteArray>
#include <QString>

/// What a scenario says of the firmware that its stick brings.
struct FirmwarePlan
{
    QString file;               ///< the image; empty: one is made up
    quint32 size_bytes = 98304; ///< of the one made up
    /// A reply to its transfer says 0xDB, at which the station gives up; else none does.
    bool escaped_reply = false;
};

/// New firmware for pods, as an update package carries it. A value.
struct Firmware
{
    QString name; ///< of the package's files, without their ends
    QByteArray image;
    QByteArray init_packet;
    int padding_bytes = 0; ///< put in front of the file's bytes to make the replies as planned

    QByteArray sha256() const;
};

/// The same seed makes up the same image. Throws BadInput when the file cannot be read or is no
/// image that a pod can hold.
Firmware makeFirmware(const FirmwarePlan& plan, quint64 seed);

/// Writes the update package: manifest, image and init packet. Throws BadInput when it cannot.
void writePackage(const Firmware& firmware, const QString& path);
