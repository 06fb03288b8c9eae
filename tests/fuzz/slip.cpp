#include "dfu/slip.h"

#include "dfu/dfuexception.h"
#include "fuzz/fuzzing.h"

#include <algorithm>

using fuzzing::require;

namespace {

/// Whatever comes, no frame outgrows its bound.
void decodeAnything(const uint8_t* data, size_t size_bytes)
{
    slip::Slip codec;
    for (size_t at = 0; at < size_bytes; ++at) {
        try {
            if (codec.decodeAddByte(data[at]))
                require(codec.getDecodedData().size() <= slip::Slip::kMaxFrameBytes);
        } catch (const DfuException&) {
            require(codec.getState() == slip::CLR_INVALID);
        }
    }
}

/// A message without an escape byte comes back as it was; of one with it, anything or nothing may.
void encodeAnything(const std::vector<uint8_t>& message)
{
    constexpr uint8_t kEnd = 0xC0;
    constexpr uint8_t kEsc = 0xDB;
    slip::Slip codec;
    codec.encodeData(message);
    const std::vector<uint8_t>& wire = codec.getEncodedData();
    require(std::count(wire.begin(), wire.end(), kEnd) == 1 && wire.back() == kEnd);
    bool complete = false;
    for (const uint8_t byte : wire)
        complete = codec.decodeAddByte(byte);
    const bool escape = std::find(message.begin(), message.end(), kEsc) != message.end();
    require(escape || (complete && codec.getDecodedData() == message));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size_bytes)
{
    decodeAnything(data, size_bytes);
    encodeAnything({data, data + std::min(size_bytes, slip::Slip::kMaxFrameBytes)});
    return 0;
}
