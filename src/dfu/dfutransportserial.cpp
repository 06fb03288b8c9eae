#include "dfu/dfutransportserial.h"

#include "dfu/dfuexception.h"
#include "dfu/dfuprotocol.h"
#include "dfu/dfureply.h"
#include "main/pod.h"
#include "utils/libusbutils.h"
#include "utils/storagefile.h"
#include "utils/zipextraction.h"

#include <QDeadlineTimer>
#include <QDebug>
#include <QThread>

#include <algorithm>
#include <array>
#include <exception>
#include <fcntl.h>
#include <zlib.h>

using namespace dfuprotocol;

namespace {

constexpr std::chrono::milliseconds kSendLimit{10000};
constexpr size_t kReadBytes = 64;

/// The whole file; it was unpacked under the same limit.
std::vector<uint8_t> contentOf(const std::string& path)
{
    const UniqueFd fd = storage::openRegular(QString::fromStdString(path), O_RDONLY);
    const qint64 size_bytes = fd ? storage::sizeOf(fd.get()) : -1;
    if (size_bytes < 0 || size_bytes > ZipExtraction::kMaxUnpackedBytes)
        throw DfuException("Failed to open update file");
    std::vector<uint8_t> bytes(static_cast<size_t>(size_bytes));
    if (storage::readBlock(fd.get(), reinterpret_cast<char*>(bytes.data()), size_bytes) !=
        size_bytes)
        throw DfuException("Failed to read update file");
    return bytes;
}

uint32_t crcOf(const uint8_t* data, size_t length_bytes, uint32_t crc_before = 0)
{
    return static_cast<uint32_t>(::crc32(crc_before, data, static_cast<uInt>(length_bytes)));
}

uint8_t byteOf(uint32_t value, int index)
{
    return static_cast<uint8_t>(value >> (8 * index));
}

void stopIfAsked()
{
    if (QThread::currentThread()->isInterruptionRequested())
        throw DfuException("Update interrupted");
}

} // namespace

DfuTransportSerial::DfuTransportSerial(Pod& pod, std::chrono::milliseconds replyLimit)
    : m_pod(pod)
    , m_reply_limit(replyLimit)
{
}

void DfuTransportSerial::open()
{
    set_prn();
    get_mtu();
}

void DfuTransportSerial::send_init_packet(const std::string& path)
{
    const Bytes init = contentOf(path);
    select_object(kCommandObject);
    if (init.size() > m_max_size)
        throw DfuException("Init too big");
    if (try_to_recover_init(init))
        return;
    create_object(kCommandObject, static_cast<uint32_t>(init.size()));
    stream_data(init, 0, 0);
    execute();
}

void DfuTransportSerial::send_firmware(const std::string& path)
{
    const Bytes firmware = contentOf(path);
    select_object(kDataObject);
    bool executed = try_to_recover_firm(firmware);
    // 64 bits: the pod's maximum size may be any number of 32.
    for (uint64_t offset = m_offset; offset < firmware.size(); offset += m_max_size) {
        const uint64_t end = std::min<uint64_t>(offset + m_max_size, firmware.size());
        send_object({firmware.data() + offset, firmware.data() + end},
                    static_cast<uint32_t>(offset));
        report_progress(firmware.size());
        executed = true;
    }
    // An empty image, or a pod that holds as many bytes of another one: nothing was updated.
    if (!executed)
        throw DfuException("Failed to send firmware");
}

void DfuTransportSerial::send_object(const Bytes& object, uint32_t offset)
{
    try {
        create_object(kDataObject, static_cast<uint32_t>(object.size()));
        m_crc = stream_data(object, m_crc, offset);
        execute();
    } catch (...) {
        throw DfuException("Failed to send firmware");
    }
}

void DfuTransportSerial::report_progress(size_t size_bytes)
{
    const auto size = static_cast<double>(size_bytes);
    m_pod.setProgress(static_cast<int>(100 - (size - m_offset) / size * 100));
    emit m_pod.setUpdateProgress(m_pod.getIdx(), m_pod.getProgress());
}

bool DfuTransportSerial::try_to_recover_init(const Bytes& init)
{
    if (m_offset == 0 || m_offset > init.size())
        return false;
    const uint32_t expected_crc = crcOf(init.data(), m_offset);
    qDebug() << "Crc response: " << m_crc << "Expected crc: " << expected_crc;
    if (m_crc != expected_crc)
        return false;
    // The whole packet again, not only what is missing of it: deliberate.
    if (m_offset < init.size())
        stream_data(init, expected_crc, m_offset);
    execute();
    return true;
}

bool DfuTransportSerial::try_to_recover_firm(const Bytes& firmware)
{
    if (m_offset == 0)
        return false;
    const uint32_t remainder = m_offset % m_max_size;
    if (m_offset > firmware.size() || m_crc != crcOf(firmware.data(), m_offset)) {
        // To the remainder itself, not back by it: deliberate.
        resume_at(remainder != 0 ? remainder : m_max_size, firmware);
        return false;
    }
    if (remainder != 0 && m_offset != firmware.size() && !complete_object(firmware))
        return false;
    execute();
    report_progress(firmware.size());
    return true;
}

/// False when the object that the pod had begun has to be sent anew.
bool DfuTransportSerial::complete_object(const Bytes& firmware)
{
    const uint32_t begun = m_offset;
    const uint32_t begun_crc = m_crc;
    const uint32_t remainder = begun % m_max_size;
    const uint64_t object_end = uint64_t{begun} - remainder + m_max_size;
    const uint64_t end = std::min<uint64_t>(object_end, firmware.size());
    try {
        m_crc = stream_data({firmware.data() + begun, firmware.data() + end}, begun_crc, begun);
        m_offset = static_cast<uint32_t>(end);
        return true;
    } catch (...) {
        resume_at(begun - remainder, firmware);
        return false;
    }
}

void DfuTransportSerial::resume_at(uint32_t offset, const Bytes& firmware)
{
    m_offset = static_cast<uint32_t>(std::min<size_t>(offset, firmware.size()));
    m_crc = crcOf(firmware.data(), m_offset);
}

uint32_t DfuTransportSerial::stream_data(const Bytes& data, uint32_t crc, uint32_t offset)
{
    for (size_t at = 0; at < data.size(); at += m_chunk_bytes) {
        const size_t length_bytes = std::min(m_chunk_bytes, data.size() - at);
        write_chunk(data.data() + at, length_bytes);
        crc = crcOf(data.data() + at, length_bytes, crc);
        offset += static_cast<uint32_t>(length_bytes);
    }
    calculate_checksum();
    validate_crc(crc, offset);
    return crc;
}

void DfuTransportSerial::write_chunk(const uint8_t* data, size_t length_bytes)
{
    m_tx_buffer.assign(1, kWrite);
    m_tx_buffer.insert(m_tx_buffer.end(), data, data + length_bytes);
    send_message(m_tx_buffer);
}

void DfuTransportSerial::validate_crc(uint32_t crc, uint32_t offset) const
{
    if (m_crc != crc)
        qDebug() << "Failed crc validation"
                 << "crc " << crc << " m_crc: " << m_crc;
    else if (m_offset != offset)
        qDebug() << "Failed offset validation"
                 << "offset " << offset << " m_offset: " << m_offset;
    else
        return;
    throw std::exception();
}

void DfuTransportSerial::set_prn()
{
    // No receipts: writes go back to back, and the checksum after each object is what counts.
    request({kSetReceipts, 0, 0});
}

void DfuTransportSerial::get_mtu()
{
    request({kGetMtu});
    const uint32_t mtu = dfureply::takeLast(m_response, 2);
    // A request whose every byte is escaped still fits.
    constexpr uint32_t kSmallestMtu = 5;
    if (mtu < kSmallestMtu)
        throw DfuException("MTU too small");
    m_chunk_bytes = (mtu - 1) / 2 - 1;
}

void DfuTransportSerial::select_object(uint8_t object_type)
{
    request({kSelect, object_type});
    m_crc = dfureply::takeLast(m_response, 4);
    m_offset = dfureply::takeLast(m_response, 4);
    m_max_size = dfureply::takeLast(m_response, 4);
    if (m_max_size == 0)
        throw DfuException("Maximum object size is 0");
}

void DfuTransportSerial::create_object(uint8_t object_type, uint32_t size_bytes)
{
    request({kCreate, object_type, byteOf(size_bytes, 0), byteOf(size_bytes, 1),
             byteOf(size_bytes, 2), byteOf(size_bytes, 3)});
}

void DfuTransportSerial::calculate_checksum()
{
    request({kChecksum});
    m_crc = dfureply::takeLast(m_response, 4);
    m_offset = dfureply::takeLast(m_response, 4);
}

void DfuTransportSerial::execute()
{
    request({kExecute});
}

void DfuTransportSerial::request(std::initializer_list<uint8_t> message)
{
    m_tx_buffer = message;
    send_message(m_tx_buffer);
    get_response(m_tx_buffer.front());
}

void DfuTransportSerial::send_message(const Bytes& message)
{
    stopIfAsked();
    m_slip.encodeData(message);
    Bytes& encoded = m_slip.getEncodedData();
    if (LibUsbUtils().writeData(m_pod.getDevHandle(), encoded.data(),
                                static_cast<int>(encoded.size()),
                                static_cast<int>(kSendLimit.count())) < 0) {
        qDebug() << "Dfu error on send";
        throw DfuException("Failed send message");
    }
    encoded.clear();
}

void DfuTransportSerial::get_response(uint8_t operation)
{
    m_response = dfureply::payloadOf(get_message(), operation);
}

DfuTransportSerial::Bytes DfuTransportSerial::get_message()
{
    const QDeadlineTimer limit(m_reply_limit);
    bool complete = false;
    do {
        complete = read_into_decoder(limit);
    } while (!complete && m_slip.getState() != slip::CLR_INVALID);
    if (m_slip.getState() == slip::CLR_INVALID)
        qDebug() << "SLIP DECODE INVALID";
    return m_slip.getDecodedData();
}

bool DfuTransportSerial::read_into_decoder(const QDeadlineTimer& limit)
{
    stopIfAsked();
    std::array<uint8_t, kReadBytes> bytes{};
    // Never 0, which would be an unlimited wait.
    const int patience_ms = static_cast<int>(limit.remainingTime());
    const int got = patience_ms > 0 ? LibUsbUtils().readData(m_pod.getDevHandle(), bytes.data(),
                                                             kReadBytes, patience_ms)
                                    : -1;
    if (got < 0) {
        qDebug() << "Dfu error on read NbRead: " << got;
        throw DfuException("Error on get message");
    }
    bool complete = false;
    // All of them, even after a frame is complete; and only the last one's answer counts.
    std::for_each_n(bytes.cbegin(), got,
                    [&](uint8_t byte) { complete = m_slip.decodeAddByte(byte); });
    return complete;
}
