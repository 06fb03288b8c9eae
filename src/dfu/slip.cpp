#include "dfu/slip.h"

#include "dfu/dfuexception.h"

#include <utility>

namespace slip {

namespace {

constexpr uint8_t kEnd = 0xC0;
constexpr uint8_t kEsc = 0xDB;
constexpr uint8_t kEscEnd = 0xDC;
constexpr uint8_t kEscEsc = 0xDD;

} // namespace

void Slip::encodeData(const std::vector<uint8_t>& data)
{
    m_encoded_data.clear();
    for (const uint8_t byte : data) {
        if (byte == kEnd)
            m_encoded_data.insert(m_encoded_data.end(), {kEsc, kEscEnd});
        else if (byte == kEsc)
            m_encoded_data.insert(m_encoded_data.end(), {kEsc, kEscEsc});
        else
            m_encoded_data.push_back(byte);
    }
    m_encoded_data.push_back(kEnd);
}

bool Slip::decodeAddByte(uint8_t byte)
{
    switch (m_state) {
    case DECODING:
        return decode(byte);
    case ESC_REC:
        unescape(byte);
        break;
    case CLR_INVALID:
        skip(byte);
        break;
    }
    return false;
}

bool Slip::decode(uint8_t byte)
{
    if (byte == kEnd) {
        m_decoded_data = std::exchange(m_local_decoded_data, {});
        return true;
    }
    if (byte == kEsc)
        m_state = ESC_REC;
    else
        append(byte);
    return false;
}

void Slip::unescape(uint8_t byte)
{
    if (byte == kEscEnd) {
        m_state = DECODING;
        append(kEnd);
    } else if (byte == kEscEsc) {
        append(kEsc); // the state deliberately stays: the next byte is read as an escape code too
    } else {
        m_state = CLR_INVALID;
    }
}

void Slip::skip(uint8_t byte)
{
    if (byte != kEnd)
        return;
    m_local_decoded_data.clear();
    m_state = DECODING;
}

void Slip::append(uint8_t byte)
{
    if (m_local_decoded_data.size() == kMaxFrameBytes) {
        m_local_decoded_data.clear();
        m_state = CLR_INVALID;
        throw DfuException("Frame too long");
    }
    m_local_decoded_data.push_back(byte);
}

} // namespace slip
