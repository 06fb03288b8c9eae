#pragma once

#include <cstdint>

/// The bytes of the pod's protocol, as docs/protocols.md has it.
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
