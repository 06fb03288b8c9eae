#include "dfu/dfuexception.h"
#include "dfu/dfureply.h"
#include "fuzz/fuzzing.h"

using fuzzing::require;

namespace {

/// The numbers of a select's reply, or of an MTU's, are the last bytes of the frame.
void takeNumbers(std::vector<uint8_t> payload, const std::vector<uint8_t>& frame)
{
    size_t end = frame.size();
    for (const size_t length_bytes : {2U, 4U, 4U, 4U}) {
        const uint32_t number = dfureply::takeLast(payload, length_bytes);
        end -= length_bytes;
        require(payload.size() + 3 == end);
        for (size_t at = 0; at < length_bytes; ++at)
            require(frame.at(end + at) == uint8_t(number >> (8 * at)));
    }
}

void judge(const std::vector<uint8_t>& frame, uint8_t operation)
{
    const std::vector<uint8_t> payload = dfureply::payloadOf(frame, operation);
    require(frame.at(0) == 0x60 && frame.at(1) == operation && frame.at(2) == 0x01);
    require(payload == std::vector<uint8_t>(frame.begin() + 3, frame.end()));
    takeNumbers(payload, frame);
}

} // namespace

/// The first byte is the operation that was asked for, the rest the frame that answers it.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size_bytes)
{
    if (size_bytes == 0)
        return 0;
    try {
        judge({data + 1, data + size_bytes}, data[0]);
    } catch (const DfuException&) {
        return 0; // refused, as most of them have to be
    }
    return 0;
}
