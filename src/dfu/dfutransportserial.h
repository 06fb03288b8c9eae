#pragma once

#include "dfu/slip.h"

#include <QByteArray>

#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

class Pod;
class QDeadlineTimer;
class UpdateFile;

/// Speaks the bootloader's protocol (dfuprotocol.h) with one pod and resumes what an earlier
/// attempt left half done. Made for one update, on the pod's worker thread, which it blocks: at
/// most 10 s a transfer and 10 s a reply in all. A stop request ends it before the next transfer.
///
/// Failures are DfuExceptions, but for a checksum or an offset that does not fit: that is a bare
/// std::exception, except during the image. No request is repeated.
class DfuTransportSerial
{
public:
    static constexpr std::chrono::milliseconds kReplyLimit{10000};

    explicit DfuTransportSerial(Pod& pod, std::chrono::milliseconds replyLimit = kReplyLimit);

    void open();
    void send_init_packet(const std::string& path);
    /// Reports the pod's progress after each piece that it executed.
    void send_firmware(const std::string& path);

private:
    using Bytes = std::vector<uint8_t>;

    void request(std::initializer_list<uint8_t> message);
    void send_message(const Bytes& message);
    void get_response(uint8_t operation);
    Bytes get_message();
    /// True when the last byte that came completed a frame.
    bool read_into_decoder(const QDeadlineTimer& limit);

    void set_prn();
    void get_mtu();
    void select_object(uint8_t object_type);
    void create_object(uint8_t object_type, uint32_t size_bytes);
    void calculate_checksum();
    void execute();

    /// A part of a file of the package, which is read only as it is sent: a pod may ask for objects
    /// as large as the image, and thirty may do so at once.
    struct Piece
    {
        const UpdateFile& file;
        uint32_t from_byte;
        uint32_t end_byte;
    };
    void write_chunk(const QByteArray& chunk);
    /// Sends a piece behind what the pod has; `crc` and `offset` are of that. The result is the CRC
    /// of all of it.
    uint32_t stream_data(const Piece& piece, uint32_t crc, uint32_t offset);
    void validate_crc(uint32_t crc, uint32_t offset) const;

    /// True when the init packet was completed and executed.
    bool try_to_recover_init(const UpdateFile& init);
    /// True when a piece that the pod had was executed. Leaves m_offset where to go on.
    bool try_to_recover_firm(const UpdateFile& firmware);
    bool complete_object(const UpdateFile& firmware);
    void resume_at(uint32_t offset, const UpdateFile& firmware);
    void send_object(const Piece& object);
    void report_progress(uint32_t size_bytes);

    Pod& m_pod;
    const std::chrono::milliseconds m_reply_limit;
    slip::Slip m_slip;
    uint32_t m_chunk_bytes = 0; ///< of data in one write request, from the MTU
    uint32_t m_max_size = 0;    ///< bytes of one object, from the last select
    uint32_t m_crc = 0;         ///< what the pod reported last, or what recovery made of it
    uint32_t m_offset = 0;      ///< bytes; likewise
    Bytes m_tx_buffer;          ///< the request being built
    Bytes m_response;           ///< payload of the last reply
};
