#include "omci/message/Message.h"

#include <algorithm>

#include "omci/message/Lookup.h"

namespace omci {

namespace {

constexpr std::size_t kHeader = 8;           // transaction, type, set, class, instance
constexpr std::size_t kExtendedHeader = 10;  // and the length of the content
constexpr std::size_t kShortestBaseline = 39;
constexpr std::size_t kTrailer = 4;
constexpr std::size_t kIntegrityCode = 4;
constexpr std::uint8_t kReservedBit = 0x80;
constexpr std::uint8_t kAnswerWantedBit = 0x40;
constexpr std::uint8_t kAnswerBit = 0x20;
constexpr std::uint8_t kTypeBits = 0x1F;
constexpr std::uint8_t kTrailerBytes[kTrailer] = {0x00, 0x00, 0x00, 0x28};  // ends with the length of what is before

DecodedFrame failed(FrameError error) {
    DecodedFrame decoded;
    decoded.error = error;
    return decoded;
}

void readContent(DecodedFrame& decoded, ByteView frame, std::size_t offset, std::size_t size) {
    const ByteView content = frame.part(offset, size);
    decoded.message.content.assign(content.begin(), content.end());
}

void readIntegrityCode(DecodedFrame& decoded, ByteView frame) {
    if (frame.size() >= decoded.protectedSize + kIntegrityCode) {
        decoded.integrityCode = number32(frame, decoded.protectedSize);
    }
}

}  // namespace

const char* nameOf(FrameError error) {
    static constexpr Names<FrameError> kNames[] = {
        {FrameError::kNone, "no error"},
        {FrameError::kTooShort, "too short for a message"},
        {FrameError::kTooLong, "too long for a message"},
        {FrameError::kUnknownSet, "unknown message set"},
        {FrameError::kReservedBit, "reserved bit of the message type is set"},
        {FrameError::kContentTooLong, "content longer than the frame"},
    };
    return lookUp(kNames, error, "unknown error");
}

Message answerTo(const Message& request) {
    Message answer;
    answer.transaction = request.transaction;
    answer.type = request.type;
    answer.isAnswer = true;
    answer.set = request.set;
    answer.entity = request.entity;
    return answer;
}

DecodedFrame decodeFrame(ByteView frame) {
    if (frame.size() < kExtendedHeader) return failed(FrameError::kTooShort);
    const std::uint8_t type = frame[2];
    const auto set = static_cast<MessageSet>(frame[3]);
    if (set != MessageSet::kBaseline && set != MessageSet::kExtended) return failed(FrameError::kUnknownSet);
    if ((type & kReservedBit) != 0) return failed(FrameError::kReservedBit);

    DecodedFrame decoded;
    Message& message = decoded.message;
    message.transaction = number16(frame, 0);
    message.type = static_cast<MessageType>(type & kTypeBits);
    message.answerWanted = (type & kAnswerWantedBit) != 0;
    message.isAnswer = (type & kAnswerBit) != 0;
    message.set = set;
    message.entity = {number16(frame, 4), number16(frame, 6)};
    if (set == MessageSet::kBaseline) {
        if (frame.size() < kShortestBaseline) return failed(FrameError::kTooShort);
        if (frame.size() > kBaselineFrame) return failed(FrameError::kTooLong);
        readContent(decoded, frame, kHeader, kBaselineContent);
        message.content.resize(kBaselineContent, 0);
        decoded.protectedSize = kHeader + kBaselineContent + kTrailer;
    } else {
        const std::size_t length = number16(frame, kHeader);
        if (length > kMaxExtendedContent || length > frame.size() - kExtendedHeader) {
            return failed(FrameError::kContentTooLong);
        }
        readContent(decoded, frame, kExtendedHeader, length);
        decoded.protectedSize = kExtendedHeader + length;
    }
    readIntegrityCode(decoded, frame);
    return decoded;
}

Bytes encodeFrame(const Message& message) {
    const bool extended = message.set == MessageSet::kExtended;
    const std::size_t most = extended ? kMaxExtendedContent : kBaselineContent;
    const ByteView content = ByteView(message.content).part(0, most);
    Bytes frame;
    appendNumber(frame, message.transaction, 2);
    std::uint8_t type = static_cast<std::uint8_t>(message.type) & kTypeBits;
    if (message.answerWanted) type |= kAnswerWantedBit;
    if (message.isAnswer) type |= kAnswerBit;
    frame.push_back(type);
    frame.push_back(static_cast<std::uint8_t>(message.set));
    appendNumber(frame, message.entity.classId, 2);
    appendNumber(frame, message.entity.instance, 2);
    if (extended) appendNumber(frame, content.size(), 2);
    frame.insert(frame.end(), content.begin(), content.end());
    if (!extended) {
        frame.resize(kHeader + kBaselineContent, 0);
        frame.insert(frame.end(), std::begin(kTrailerBytes), std::end(kTrailerBytes));
    }
    return frame;
}

}  // namespace omci
