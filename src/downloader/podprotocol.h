#pragma once

#include <cstdint>

/// The pod's byte protocol: a command is one byte on bulk OUT, and every answer on bulk IN begins
/// with an ack.
///   0x11 read identifier -> ack · 8 bytes
///   0x12 restart into the bootloader, unanswered
///   0x14 charge status   -> ack · 1 byte, 2 = full
///   0x31 read data       -> ack · size N (u32 big-endian) · N data bytes · SHA-256 of them
///   0x41 erase           -> ack
namespace podprotocol {

constexpr uint8_t kReadUdid = 0x11;
constexpr uint8_t kRestartInBootloader = 0x12;
constexpr uint8_t kChargeStatus = 0x14;
constexpr uint8_t kReadData = 0x31;
constexpr uint8_t kErase = 0x41;
constexpr uint8_t kAck = 0x0A;
constexpr uint8_t kCharged = 2;
constexpr int kTimeoutMs = 10000; ///< of each transfer

} // namespace podprotocol
