#pragma once

#include "pod/podflash.h"
#include "pod/refusal.h"
#include "system/checksum.h"

#include <optional>

/// The largest image that a pod can hold.
constexpr quint32 kFlashBytes = 1024 * 1024;

/// How large the objects may be that a bootloader takes.
struct ObjectLimits
{
    quint32 command_bytes = 512;
    quint32 data_bytes = 4096;
};

/// Of a pod that is meant to be awkward: a prime, which divides no usual image, and of which no
/// multiple that fits holds a byte 0xDB.
constexpr quint32 kOddObjectBytes = 10'061;

/// What a bootloader has received: the init packet as the command object, the image as a row of
/// data objects. An object is received into memory, which does not outlive a restart, and comes
/// into the flash when it is executed. Not thread-safe; owned by its bootloader. What it cannot do,
/// it refuses and leaves everything as it was.
class ObjectStore
{
public:
    enum class Type : quint8 { Command = 1, Data = 2 };
    struct Position
    {
        quint32 offset_bytes; ///< of a data object: over the whole image
        quint32 crc;          ///< CRC-32 of everything up to there
    };
    using Verdict = std::optional<Refusal>; ///< none: done

    ObjectStore(ObjectLimits limits, PodFlash flash);

    const PodFlash& flash() const { return m_flash; }
    Type current() const { return m_current; }
    quint32 mostBytes(Type type) const;
    Position position(Type type) const;
    bool complete() const { return m_complete; }

    /// Writes and executions mean the object of this kind from now on.
    void select(Type type) { m_current = type; }
    Verdict create(Type type, quint32 size_bytes);
    Verdict write(const QByteArray& bytes);
    Verdict execute();

    void setInBootloader() { m_flash.in_bootloader = true; }
    /// The next data object, of which this much has already arrived.
    void resumeWith(const QByteArray& half_received);
    /// As without power.
    void forgetMemory();

private:
    struct Object
    {
        Type type;
        quint32 size_bytes;
        QByteArray received;
    };
    const Object* object(Type type) const;
    quint32 imageBytesLeft() const;
    Verdict executeCommand(const QByteArray& packet);
    Verdict executeData(const QByteArray& bytes);
    Verdict finishImage();

    ObjectLimits m_limits;
    PodFlash m_flash;
    Checksum m_image_crc; ///< of the executed part
    Type m_current = Type::Command;
    std::optional<Object> m_object; ///< being received
    bool m_complete = false;        ///< the image has arrived and is the announced one
};
