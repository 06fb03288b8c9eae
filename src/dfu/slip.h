#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// Framing of the bootloader's serial protocol: an escaped payload, then one end byte.
namespace slip {

enum slip_state_e {
    DECODING = 0,
    ESC_REC = 1,     ///< an escape byte was received
    CLR_INVALID = 2, ///< an invalid escape was: bytes are dropped up to the next end byte
};

/// Codec of one connection: whole messages out, bytes in. Reentrant; its owner's thread only. The
/// decoder's state carries over from message to message. An invalid escape shows in getState()
/// alone; a frame that grows beyond kMaxFrameBytes is a DfuException, and the rest of it is
/// dropped.
class Slip
{
public:
    static constexpr size_t kMaxFrameBytes = size_t(64) * 1024;

    /// Into getEncodedData(), in place of what was there.
    void encodeData(const std::vector<uint8_t>& data);
    /// True when this byte completed a frame, which then is getDecodedData().
    bool decodeAddByte(uint8_t byte);

    std::vector<uint8_t>& getEncodedData() { return m_encoded_data; }
    std::vector<uint8_t>& getDecodedData() { return m_decoded_data; }
    slip_state_e getState() const { return m_state; }

private:
    bool decode(uint8_t byte);
    void unescape(uint8_t byte);
    void skip(uint8_t byte);
    void append(uint8_t byte);

    slip_state_e m_state = DECODING;
    std::vector<uint8_t> m_encoded_data;
    std::vector<uint8_t> m_decoded_data;
    std::vector<uint8_t> m_local_decoded_data; ///< the frame being assembled
};

} // namespace slip
