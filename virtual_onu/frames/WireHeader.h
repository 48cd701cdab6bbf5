// The headers of a frame's bytes, as far as the data path looks at them.
#ifndef VIRTUAL_ONU_WIRE_HEADER_H
#define VIRTUAL_ONU_WIRE_HEADER_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "frames/Packet.h"

namespace virtual_onu::datapath {

constexpr std::size_t kMacOctets = 6, kTagOctets = 4;

// An IGMP or MLD message.
struct WireGroup {
    GroupMessage::Kind kind = GroupMessage::Kind::Report;
    const std::uint8_t* address = nullptr;  // of the group, in the frame's bytes; null for none
    std::uint32_t maxResponseMs = 10000;    // of a query
    std::vector<GroupMessage::Record> more{};
};

struct WireHeader {
    const std::uint8_t* destination = nullptr;  // in the frame's bytes, the source behind it
    Tags tags;
    std::size_t payloadAt = 0;    // where the payload begins in the bytes
    std::size_t payloadSize = 0;  // also of what is not in the bytes
    std::optional<std::uint8_t> ipProtocol;
    std::uint8_t dscp = 0;
    std::optional<WireGroup> group;
};

bool isTpid(std::uint16_t type);  // of those
// Tags are taken as such with the TPIDs 0x8100, 0x88a8 and 0x9100, as many as the data path carries. False for fewer
// bytes than an Ethernet header.
bool readHeader(const std::uint8_t* bytes, std::size_t size, std::size_t wireSize, WireHeader& made);
// As packetOf() makes it of the frame with these headers.
Packet packetOf(const WireHeader& header);

// A frame's bytes where there is room for a longer header in front of them, and for padding behind.
struct WireSlot {
    std::uint8_t* frame = nullptr;  // where its addresses are
    std::uint8_t* payload = nullptr;
    std::size_t size = 0;  // as it came in
    std::size_t payloadSize = 0;
};
constexpr std::size_t kHeadroom = 4 * kMaxTags;

// Writes the frame with these tags where it is, with everything behind the last type word as it came in; one that has
// become too short is padded. Answers its size. Again and again, for the copies of a frame.
std::size_t writeCopy(WireSlot& slot, const Tags& tags);

// The addresses, these tags and the type word so that they end where the payload begins; their size. The addresses may
// lie in what is written over.
std::size_t writeHeader(const Tags& tags, const std::uint8_t* addresses, std::uint8_t* payload);

}  // namespace virtual_onu::datapath

#endif
