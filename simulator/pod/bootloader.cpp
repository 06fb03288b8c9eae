#include "pod/bootloader.h"

#include "pod/initpacket.h"

#include <QtEndian>

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

constexpr char kReply = 0x60;
constexpr char kSuccess = 0x01;
const QByteArray kExtendedError("\x0B\x07");
constexpr char kNeverAnEnd = 0x55;

constexpr quint16 kTinyMtuBytes = 4; // leaves a write no room for data that might need escapes
constexpr quint16 kHugeMtuBytes = 65535;

QByteArray word(quint32 value)
{
    QByteArray bytes(sizeof(value), '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

QByteArray halfWord(quint16 value)
{
    return word(value).left(sizeof(value));
}

QByteArray bytesOf(const ObjectStore::Position& position)
{
    return word(position.offset_bytes) + word(position.crc);
}

std::optional<ObjectStore::Type> typeOf(char byte)
{
    const auto type = ObjectStore::Type(byte);
    if (type == ObjectStore::Type::Command || type == ObjectStore::Type::Data)
        return type;
    return std::nullopt;
}

BootloaderSettings withFault(BootloaderSettings settings)
{
    if (settings.fault == PodFault::MtuTiny)
        settings.mtu_bytes = kTinyMtuBytes;
    if (settings.fault == PodFault::MtuHuge)
        settings.mtu_bytes = kHugeMtuBytes;
    if (settings.fault == PodFault::ObjectSizeOdd)
        settings.limits.data_bytes = kOddObjectBytes;
    if (settings.fault == PodFault::ObjectSizeZero)
        settings.limits.data_bytes = 0;
    return settings;
}

} // namespace

Bootloader::Bootloader(BootloaderSettings settings, PodFlash flash)
    : m_settings(withFault(std::move(settings)))
    , m_store(m_settings.limits, std::move(flash))
{
    if (!m_settings.half_received.isEmpty())
        m_store.resumeWith(m_settings.half_received);
}

void Bootloader::powerUp()
{
    m_store.forgetMemory();
    m_decoder = {};
    m_transfers.clear();
    m_receipt_every = 0;
}

void Bootloader::receive(const QByteArray& from_host)
{
    m_report.bus_bytes += quint64(from_host.size());
    for (const char byte : from_host)
        if (const auto frame = m_decoder.add(byte))
            serve(*frame);
}

void Bootloader::serve(const SlipFrame& frame)
{
    if (frame.payload.isEmpty() && !frame.broken)
        return; // a host may begin a frame with an end byte
    const auto request = Request(frame.broken ? '\0' : frame.payload.at(0));
    const QByteArray arguments = frame.payload.mid(1);
    switch (request) {
    case Request::Create:
        return create(arguments);
    case Request::SetReceipts:
        return setReceipts(arguments);
    case Request::Checksum:
        return answerChecksum();
    case Request::Execute:
        return execute();
    case Request::Select:
        return select(arguments);
    case Request::GetMtu:
        return accept(request, halfWord(m_settings.mtu_bytes));
    case Request::Write:
        return write(frame);
    }
    refuse(request, frame.broken ? Refusal::Malformed : Refusal::UnknownRequest);
}

void Bootloader::create(const QByteArray& arguments)
{
    if (arguments.size() != 1 + int(sizeof(quint32)))
        return refuse(Request::Create, Refusal::Malformed);
    const auto type = typeOf(arguments.at(0));
    if (!type)
        return refuse(Request::Create, Refusal::UnknownObject);
    m_writes_since_receipt = 0;
    judge(Request::Create,
          m_store.create(*type, qFromLittleEndian<quint32>(arguments.constData() + 1)));
}

void Bootloader::setReceipts(const QByteArray& arguments)
{
    if (arguments.size() != int(sizeof(quint16)))
        return refuse(Request::SetReceipts, Refusal::Malformed);
    m_receipt_every = qFromLittleEndian<quint16>(arguments.constData());
    m_writes_since_receipt = 0;
    accept(Request::SetReceipts);
}

void Bootloader::answerChecksum()
{
    ObjectStore::Position position = m_store.position(m_store.current());
    if (m_store.current() == ObjectStore::Type::Data) {
        if (strikes(PodFault::ReplyLost))
            return;
        if (strikes(PodFault::WrongOpcode))
            return accept(Request::Execute, bytesOf(position));
        m_endless = m_endless || strikes(PodFault::FrameWithoutEnd);
        if (strikes(PodFault::CrcWrongOnce))
            position.crc = ~position.crc;
        if (strikes(PodFault::OffsetWrong))
            position.offset_bytes -= 1;
    }
    accept(Request::Checksum, bytesOf(position));
}

void Bootloader::execute()
{
    if (m_store.current() == ObjectStore::Type::Data && strikes(PodFault::ExtendedError))
        return reply(Request::Execute, kExtendedError);
    const ObjectStore::Verdict verdict = m_store.execute();
    if (finished() && strikes(PodFault::LeavesUnheard))
        return;
    judge(Request::Execute, verdict);
}

void Bootloader::select(const QByteArray& arguments)
{
    if (arguments.size() != 1)
        return refuse(Request::Select, Refusal::Malformed);
    const auto type = typeOf(arguments.at(0));
    if (!type)
        return refuse(Request::Select, Refusal::UnknownObject);
    m_store.select(*type);
    ObjectStore::Position position = m_store.position(*type);
    if (*type == ObjectStore::Type::Data && !std::exchange(m_selected_data, true))
        m_report.resumed_at_byte = position.offset_bytes;
    if (*type == ObjectStore::Type::Data && m_settings.fault == PodFault::OffsetBeyond)
        position.offset_bytes = kFlashBytes + 1;
    accept(Request::Select, word(m_store.mostBytes(*type)) + bytesOf(position));
}

void Bootloader::write(const SlipFrame& frame)
{
    if (frame.wire_bytes > m_settings.mtu_bytes)
        return refuse(Request::Write, Refusal::OversizedWrite);
    const QByteArray data = frame.payload.mid(1);
    if (const auto refusal = m_store.write(data))
        return refuse(Request::Write, *refusal);
    if (m_store.current() == ObjectStore::Type::Data)
        m_report.image_bytes += quint64(data.size());
    leaveIfDue();
    if (++m_writes_since_receipt == m_receipt_every) {
        m_writes_since_receipt = 0;
        answerChecksum();
    }
}

void Bootloader::accept(Request request, const QByteArray& payload)
{
    reply(request, QByteArray(1, kSuccess) + payload);
}

void Bootloader::refuse(Request request, Refusal refusal)
{
    ++m_report.refusals.at(size_t(refusal));
    reply(request, refusalResult(refusal));
}

void Bootloader::judge(Request request, const ObjectStore::Verdict& verdict)
{
    if (verdict)
        refuse(request, *verdict);
    else
        accept(request);
}

void Bootloader::reply(Request request, const QByteArray& result_and_payload)
{
    QByteArray header(1, kReply);
    const QByteArray frame = slipEncoded(header.append(char(request)) + result_and_payload);
    if (m_settings.fault == PodFault::ReplyCut) {
        m_transfers.push_back(frame.left(2));
        m_transfers.push_back(frame.mid(2));
    } else if (m_settings.fault == PodFault::TwoReplies) {
        m_transfers.push_back(m_last_frame + frame);
    } else {
        m_transfers.push_back(frame);
    }
    m_last_frame = frame;
    m_endless = m_endless || m_settings.fault == PodFault::ReplyInDrops;
}

/// Its end comes in the middle of an object: what the host had sent of it is lost.
void Bootloader::leaveIfDue()
{
    if (m_settings.fault != PodFault::DisconnectAtByte ||
        m_store.current() != ObjectStore::Type::Data)
        return;
    const auto init = InitPacket::parse(flash().init_packet);
    const quint32 at_byte =
        m_settings.disconnect_at_byte != 0 ? m_settings.disconnect_at_byte : init->image_bytes / 2;
    m_disconnected = m_store.position(ObjectStore::Type::Data).offset_bytes >= at_byte;
}

bool Bootloader::strikes(PodFault fault)
{
    return m_settings.fault == fault && !std::exchange(m_struck, true);
}

int Bootloader::nextTransferBytes(int at_most_bytes) const
{
    if (m_endless)
        return m_settings.fault == PodFault::ReplyInDrops ? 1 : at_most_bytes;
    return m_transfers.empty() ? 0 : std::min(m_transfers.front().size(), at_most_bytes);
}

int Bootloader::send(char* out, int at_most_bytes)
{
    const int length_bytes = nextTransferBytes(at_most_bytes);
    if (m_endless) {
        std::memset(out, kNeverAnEnd, size_t(length_bytes));
    } else if (length_bytes > 0) {
        QByteArray& transfer = m_transfers.front();
        std::memcpy(out, transfer.constData(), size_t(length_bytes));
        transfer.remove(0, length_bytes);
        if (transfer.isEmpty())
            m_transfers.pop_front();
    }
    return length_bytes;
}
