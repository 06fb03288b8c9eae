#pragma once

#include <cstdint>

/// The bytes of the bootloader's protocol, as docs/protocols.md has it.
namespace dfuprotocol {

constexpr uint8_t kCreate = 0x01;
constexpr uint8_t kSetReceipts = 0x02;
constexpr uint8_t kChecksum = 0x03;
constexpr uint8_t kExecute = 0x04;
constexpr uint8_t kSelect = 0x06;
constexpr uint8_t kGetMtu = 0x07;
constexpr uint8_t kWrite = 0x08;
constexpr uint8_t kReply = 0x60;

constexpr uint8_t kCommandObject = 0x01; ///< the init packet
constexpr uint8_t kDataObject = 0x02;    ///< a piece of the image

constexpr uint8_t kSuccess = 0x01;
constexpr uint8_t kExtendedError = 0x0B;

} // namespace dfuprotocol
