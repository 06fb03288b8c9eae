#include "dfu/dfureply.h"

#include "dfu/dfuexception.h"
#include "dfu/dfuprotocol.h"

#include <QDebug>

namespace dfureply {

namespace {

constexpr size_t kHeaderBytes = 3;

} // namespace

std::vector<uint8_t> payloadOf(const std::vector<uint8_t>& frame, uint8_t operation)
{
    if (frame.empty())
        throw DfuException("Empty buffer");
    if (frame[0] != dfuprotocol::kReply)
        throw DfuException("False repsonse"); // the spelling is known from the field's logs
    if (frame.size() < 2 || frame[1] != operation) {
        qDebug() << "Expected: " << true << int(operation);
        throw DfuException("Error operation");
    }
    if (frame.size() >= kHeaderBytes && frame[2] == dfuprotocol::kSuccess)
        return {frame.begin() + kHeaderBytes, frame.end()};
    // Which extended error it is deliberately stays unread.
    if (frame.size() >= kHeaderBytes && frame[2] == dfuprotocol::kExtendedError)
        throw DfuException("Extented error");
    throw DfuException("Unkown error");
}

uint32_t takeLast(std::vector<uint8_t>& payload, size_t length_bytes)
{
    if (payload.size() < length_bytes)
        throw DfuException("Reply too short");
    uint32_t value = 0;
    for (size_t taken = 0; taken < length_bytes; ++taken) {
        value = value << 8 | payload.back();
        payload.pop_back();
    }
    return value;
}

} // namespace dfureply
