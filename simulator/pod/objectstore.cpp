#include "pod/objectstore.h"

#include "pod/initpacket.h"

#include <QCryptographicHash>

#include <algorithm>

ObjectStore::ObjectStore(ObjectLimits limits, PodFlash flash)
    : m_limits(limits)
    , m_flash(std::move(flash))
{
    m_image_crc.add(m_flash.image);
}

quint32 ObjectStore::mostBytes(Type type) const
{
    return type == Type::Command ? m_limits.command_bytes : m_limits.data_bytes;
}

const ObjectStore::Object* ObjectStore::object(Type type) const
{
    return m_object && m_object->type == type ? &*m_object : nullptr;
}

ObjectStore::Position ObjectStore::position(Type type) const
{
    const Object* receiving = object(type);
    const bool data = type == Type::Data;
    const QByteArray accepted = data ? QByteArray() : m_flash.init_packet;
    const QByteArray& last = receiving != nullptr ? receiving->received : accepted;
    Checksum crc = data ? m_image_crc : Checksum();
    crc.add(last);
    return {quint32((data ? m_flash.image.size() : 0) + last.size()), crc.value()};
}

quint32 ObjectStore::imageBytesLeft() const
{
    const auto init = InitPacket::parse(m_flash.init_packet);
    return init ? init->image_bytes - quint32(m_flash.image.size()) : 0;
}

ObjectStore::Verdict ObjectStore::create(Type type, quint32 size_bytes)
{
    if (type == Type::Data && m_flash.init_packet.isEmpty())
        return Refusal::EarlyData;
    const bool too_large = size_bytes == 0 || size_bytes > mostBytes(type) ||
                           (type == Type::Data && size_bytes > imageBytesLeft());
    if (too_large)
        return Refusal::OversizedCreate;
    m_current = type;
    m_object = Object{type, size_bytes, {}};
    return {};
}

ObjectStore::Verdict ObjectStore::write(const QByteArray& bytes)
{
    if (object(m_current) == nullptr)
        return Refusal::WriteNowhere;
    if (quint32(bytes.size()) > m_object->size_bytes - quint32(m_object->received.size()))
        return Refusal::WriteBeyond;
    m_object->received += bytes;
    return {};
}

/// A host that resumes executes again what was executed already.
ObjectStore::Verdict ObjectStore::execute()
{
    const bool command = m_current == Type::Command;
    if (object(m_current) == nullptr) {
        const QByteArray& executed = command ? m_flash.init_packet : m_flash.image;
        return executed.isEmpty() ? Verdict(Refusal::NothingToExecute) : std::nullopt;
    }
    if (quint32(m_object->received.size()) < m_object->size_bytes)
        return Refusal::UnfinishedObject;
    const QByteArray received = m_object->received;
    m_object.reset();
    return command ? executeCommand(received) : executeData(received);
}

ObjectStore::Verdict ObjectStore::executeCommand(const QByteArray& packet)
{
    const auto init = InitPacket::parse(packet);
    if (!init)
        return Refusal::BadInitPacket;
    if (init->image_bytes == 0 || init->image_bytes > kFlashBytes)
        return Refusal::BadImageSize;
    if (packet == m_flash.init_packet)
        return {};
    m_flash.init_packet = packet;
    m_flash.image.clear();
    m_image_crc = {};
    return {};
}

ObjectStore::Verdict ObjectStore::executeData(const QByteArray& bytes)
{
    m_flash.image += bytes;
    m_image_crc.add(bytes);
    return imageBytesLeft() == 0 ? finishImage() : std::nullopt;
}

ObjectStore::Verdict ObjectStore::finishImage()
{
    const QByteArray sha256 = QCryptographicHash::hash(m_flash.image, QCryptographicHash::Sha256);
    m_complete = sha256 == InitPacket::parse(m_flash.init_packet)->image_sha256;
    m_flash.image.clear();
    m_image_crc = {};
    if (!m_complete)
        return Refusal::WrongDigest;
    m_flash.firmware_sha256 = sha256;
    m_flash.in_bootloader = false;
    m_flash.init_packet.clear();
    return {};
}

void ObjectStore::resumeWith(const QByteArray& half_received)
{
    m_object = Object{Type::Data, std::min(m_limits.data_bytes, imageBytesLeft()), half_received};
}

void ObjectStore::forgetMemory()
{
    m_object.reset();
    m_complete = false;
    m_current = Type::Command;
}
