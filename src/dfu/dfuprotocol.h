#pragma once

#include <cstdint>

/// The bootloader's requests, each one SLIP frame; numbers are little-endian.
///
///   0x01 create   type · size (u32)  -> nothing
///   0x02 receipts interval (u16)     -> nothing; 0 for none
///   0x03 checksum                    -> offset (u32) · CRC-32 (u32) of all that was received
///   0x04 execute                     -> nothing
///   0x06 select   type               -> maximum size (u32) · offset (u32) · CRC-32 (u32)
///   0x07 MTU                         -> MTU in bytes (u16)
///   0x08 write    data               -> no reply at all
///
/// A reply is 0x60 · the request's opcode · result · the payload given above.
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
