#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// The bootloader's replies, read from bytes that may be anything. Pure functions; whatever is not
/// the success that was asked for is a DfuException.
namespace dfureply {

/// The payload of a reply to `operation`.
std::vector<uint8_t> payloadOf(const std::vector<uint8_t>& frame, uint8_t operation);

/// Takes a little-endian number of `length_bytes`, at most four, off the end of the payload.
uint32_t takeLast(std::vector<uint8_t>& payload, size_t length_bytes);

} // namespace dfureply
