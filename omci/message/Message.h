// One message of the management channel, and its frames in the baseline and the extended message set.
#ifndef OMCI_MESSAGE_MESSAGE_H
#define OMCI_MESSAGE_MESSAGE_H

#include <cstddef>
#include <cstdint>
#include <optional>

#include "omci/message/Bytes.h"
#include "omci/message/ManagedEntities.h"
#include "omci/message/MessageType.h"

namespace omci {

// The message sets by their device identifiers.
enum class MessageSet : std::uint8_t { kBaseline = 0x0A, kExtended = 0x0B };

constexpr std::size_t kBaselineContent = 32;       // bytes of content that every baseline message has
constexpr std::size_t kBaselineFrame = 48;         // with trailer and integrity code
constexpr std::size_t kMaxExtendedContent = 1966;  // bytes
constexpr std::uint16_t kPriorityBit = 0x8000;     // of the transaction identifier: high priority

struct Message {
    std::uint16_t transaction = 0;         // 0: the ONU sends by itself
    MessageType type = MessageType::kGet;  // may be a reserved number, 0..31
    bool answerWanted = false;             // requests of the OLT
    bool isAnswer = false;                 // of the ONU
    MessageSet set = MessageSet::kBaseline;
    EntityKey entity;
    Bytes content;  // baseline: 32 bytes; shorter is filled with zeros by encodeFrame()

    bool highPriority() const { return (transaction & kPriorityBit) != 0; }
};

// A message of the ONU, not a request of the OLT.
inline bool isUpstream(const Message& message) {
    return message.isAnswer || isAutonomous(message.type);
}
// The answer to a request, without content.
Message answerTo(const Message& request);

enum class FrameError : std::uint8_t {
    kNone,
    kTooShort,        // less than a header, or than the shortest frame of its set
    kTooLong,         // more than a frame of its set can have
    kUnknownSet,      // a device identifier other than 0x0A and 0x0B
    kReservedBit,     // bit 7 of the message type is set
    kContentTooLong,  // extended: the length says more than the frame holds, or more than 1966
};
const char* nameOf(FrameError error);

struct DecodedFrame {
    FrameError error = FrameError::kNone;  // with any other, nothing below is meant
    Message message;
    std::size_t protectedSize = 0;               // leading bytes that an integrity code covers
    std::optional<std::uint32_t> integrityCode;  // where the frame holds one
};

// Any bytes give a message or an error. Baseline frames may lack the integrity code (44 bytes), the trailer as well
// (40 bytes) and one byte of content (39), as captures have them; extended ones the integrity code.
DecodedFrame decodeFrame(ByteView frame);

// The frame without its integrity code: 44 bytes, or 10 and the content. Content that is too long for its set is cut.
Bytes encodeFrame(const Message& message);

}  // namespace omci

#endif
