#include "pod/podmodel.h"

#include <QtEndian>

#include <algorithm>
#include <cstring>
#include <limits>

namespace {

constexpr char kAck = 0x0A;
constexpr char kNak = 0x15;
constexpr char kReadUdid = 0x11;
constexpr char kStartBootloader = 0x12;
constexpr char kReadCharge = 0x14;
constexpr char kReadData = 0x31;
constexpr char kErase = 0x41;

constexpr char kCharging = 1;
constexpr char kCharged = 2;

constexpr int kDigestBytes = 32;
/// The station takes a pod of 0 or 512 bytes for empty and reads data and digest in one transfer.
constexpr quint32 kEmptySizeBytes = 512;

QByteArray sizeField(quint32 size_bytes)
{
    QByteArray field(sizeof(size_bytes), '\0');
    qToBigEndian(size_bytes, field.data());
    return field;
}

BootloaderSettings bootloaderOf(const PodSettings& pod)
{
    BootloaderSettings settings = pod.bootloader;
    settings.fault = pod.fault;
    settings.disconnect_at_byte = pod.unplug_at_byte;
    return settings;
}

PodMode modeOf(const PodFlash& flash)
{
    return flash.in_bootloader ? PodMode::Bootloader : PodMode::Normal;
}

} // namespace

PodModel::PodModel(PodSettings settings)
    : m_settings(std::move(settings))
    , m_recording(m_settings.recording())
    , m_bootloader(bootloaderOf(m_settings), m_settings.flash)
    , m_mode(modeOf(m_settings.flash))
    , m_short_read_due(m_settings.fault == PodFault::ShortRead)
    , m_silent(m_settings.fault == PodFault::NoAnswer)
{
}

PodReport PodModel::report() const
{
    PodReport report = m_report;
    report.mode = m_mode;
    report.firmware_sha256 = flash().firmware_sha256;
    report.bootloader = m_bootloader.report();
    return report;
}

bool PodModel::claim()
{
    m_report.opened = m_settings.fault != PodFault::ClaimBusy;
    return m_report.opened;
}

void PodModel::receive(const QByteArray& from_station)
{
    if (m_mode == PodMode::Normal) {
        for (const char command : from_station)
            execute(command);
    } else if (m_bootloader.finished()) {
        finishUpdate(); // a host that did not wait for the last reply
    } else if (listens()) {
        m_bootloader.receive(from_station);
        leaveIfDue();
    }
}

void PodModel::execute(char command)
{
    if (!listens())
        return;
    m_output.clear();
    m_falls_silent = false;
    switch (command) {
    case kReadUdid:
        answer(QByteArray(1, kAck));
        answer(m_settings.udid);
        break;
    case kStartBootloader:
        m_bootloader.enter();
        leave(m_settings.fault == PodFault::BootloaderAbsent ? Presence::Gone
                                                             : Presence::Restarting);
        break;
    case kReadCharge:
        answerCharge();
        break;
    case kReadData:
        answerReadout();
        break;
    case kErase:
        answerErase();
        break;
    default:
        answer(QByteArray(1, kNak));
    }
}

void PodModel::answer(const QByteArray& bytes)
{
    m_output.push_back({FieldKind::Fixed, bytes, quint32(bytes.size()), false});
}

void PodModel::answerReadout()
{
    if (m_settings.fault == PodFault::WrongAck)
        return answer(QByteArray(1, kNak));
    const bool absurd = m_settings.fault == PodFault::SizeAbsurd;
    const bool cut = m_settings.fault == PodFault::CutHalfWay;
    const quint32 size_bytes = recordedBytes();
    const quint32 data_bytes = cut ? size_bytes / 2 : size_bytes;

    ++m_report.readouts_begun;
    m_report.bytes_sent = 0;
    m_hash.reset();
    m_data_offset_bytes = 0;
    answer(QByteArray(1, kAck));
    answer(sizeField(absurd ? std::numeric_limits<quint32>::max() : size_bytes));
    if (data_bytes > 0)
        m_output.push_back({FieldKind::Data, {}, data_bytes, size_bytes == kEmptySizeBytes});
    m_falls_silent = absurd || cut;
    if (!m_falls_silent)
        m_output.push_back({FieldKind::Digest, {}, kDigestBytes, false});
    tell(PodEvent::ReadoutBegun);
    leaveIfDue();
}

void PodModel::answerCharge()
{
    ++m_report.charge_polls;
    const bool full = m_report.charge_polls > m_settings.polls_until_charged;
    answer(QByteArray(1, kAck));
    answer(QByteArray(1, full ? kCharged : kCharging));
    if (full && !m_report.charged) {
        m_report.charged = true;
        tell(PodEvent::Charged);
    }
}

void PodModel::answerErase()
{
    if (m_settings.fault == PodFault::EraseRefused)
        return answer(QByteArray(1, kNak));
    m_report.erased = true;
    m_silent = m_settings.fault == PodFault::EraseUnanswered;
    answer(QByteArray(1, kAck));
    tell(PodEvent::Erased);
}

int PodModel::nextTransferBytes(int at_most_bytes) const
{
    if (!listens())
        return 0;
    if (m_mode == PodMode::Bootloader)
        return m_bootloader.nextTransferBytes(at_most_bytes);
    if (m_output.empty())
        return 0;
    quint64 bytes = 0;
    for (const Field& field : m_output) {
        bytes += field.left_bytes;
        if (!field.joins_next)
            break;
    }
    bytes = std::min<quint64>(bytes, quint64(at_most_bytes));
    if (m_output.front().kind != FieldKind::Data)
        return int(bytes);
    if (m_settings.fault == PodFault::UnpluggedAtByte)
        bytes = std::min<quint64>(bytes, m_settings.unplug_at_byte - m_report.bytes_sent);
    return m_short_read_due ? int(bytes + 1) / 2 : int(bytes);
}

int PodModel::send(char* out, int at_most_bytes)
{
    const int transfer_bytes = nextTransferBytes(at_most_bytes);
    if (m_mode == PodMode::Bootloader) {
        m_bootloader.send(out, transfer_bytes);
        leaveIfDue();
        return transfer_bytes;
    }
    int done = 0;
    while (done < transfer_bytes) {
        Field& field = m_output.front();
        const int part = int(std::min(quint32(transfer_bytes - done), field.left_bytes));
        fill(field, out + done, part);
        done += part;
        if (field.left_bytes == 0)
            finishField();
    }
    leaveIfDue();
    return transfer_bytes;
}

void PodModel::fill(Field& field, char* out, int length_bytes)
{
    if (field.kind == FieldKind::Data) {
        m_recording.read(m_data_offset_bytes, out, length_bytes);
        m_hash.addData(out, length_bytes);
        m_data_offset_bytes += quint32(length_bytes);
        m_report.bytes_sent += quint64(length_bytes);
        m_short_read_due = false;
    } else {
        if (field.bytes.isEmpty())
            field.bytes = digest();
        std::memcpy(out, field.bytes.constEnd() - field.left_bytes, size_t(length_bytes));
    }
    field.left_bytes -= quint32(length_bytes);
}

void PodModel::finishField()
{
    const FieldKind finished = m_output.front().kind;
    m_output.pop_front();
    if (finished == FieldKind::Digest) {
        ++m_report.readouts_completed;
        tell(PodEvent::ReadoutCompleted);
    }
    if (m_output.empty() && m_falls_silent)
        m_silent = true;
}

QByteArray PodModel::digest() const
{
    QByteArray result = m_hash.result();
    const bool wrong =
        m_settings.fault == PodFault::DigestWrongAlways ||
        (m_settings.fault == PodFault::DigestWrongOnce && m_report.readouts_completed == 0);
    if (wrong)
        result[0] = char(~result.at(0));
    return result;
}

void PodModel::leaveIfDue()
{
    if (!onBus())
        return;
    const bool read_out = m_settings.fault == PodFault::UnpluggedAtByte &&
                          m_report.readouts_begun > 0 &&
                          m_report.bytes_sent >= m_settings.unplug_at_byte;
    if (read_out || m_bootloader.disconnected())
        return leave(Presence::Gone);
    if (m_bootloader.finished() && m_bootloader.nextTransferBytes(1) == 0)
        finishUpdate();
}

void PodModel::finishUpdate()
{
    if (!onBus())
        return;
    ++m_report.updates_completed;
    leave(m_settings.fault == PodFault::FirmwareAbsent ? Presence::Gone : Presence::Restarting);
}

void PodModel::leave(Presence presence)
{
    m_presence = presence;
    tell(presence == Presence::Gone ? PodEvent::Vanished : PodEvent::Restarting);
}

void PodModel::restart()
{
    m_bootloader.powerUp();
    m_mode = modeOf(flash());
    m_presence = Presence::OnBus;
    m_output.clear();
}

void PodModel::tell(PodEvent event) const
{
    if (m_listener)
        m_listener(event);
}
