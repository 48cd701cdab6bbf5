// A frame as the data path carries it: numbers instead of texts, no memory of its own.
#ifndef VIRTUAL_ONU_PACKET_H
#define VIRTUAL_ONU_PACKET_H

#include <array>
#include <cstdint>
#include <optional>

#include "Frames.h"

namespace virtual_onu::datapath {

// A MAC address in the lower 48 bits, the first octet on top.
using Mac = std::uint64_t;
constexpr std::size_t kHeaderOctets = 14;  // of Ethernet
constexpr std::size_t kShortestFrame = 60;
constexpr Mac kBroadcast = 0xFFFFFFFFFFFF;
constexpr bool isGroup(Mac mac) {
    return (mac >> 40 & 1) != 0;
}
std::string textOf(Mac mac);
// The octets of an IP address; IPv4 has four, the others are 0.
using IpAddress = std::array<std::uint8_t, 16>;
IpAddress ipAddress(const std::uint8_t* octets, bool ipv6);
std::string textOf(const IpAddress& group);
Mac groupMac(const std::uint8_t* ipGroup, bool ipv6);  // 0 for an address that is none
Mac macOf(const std::string& text);                    // 0 for a text that is no MAC address

// The part of a frame that rules change.
struct Tags {
    std::array<VlanTag, kMaxTags> tag;  // outermost first
    std::uint8_t count = 0;
    std::uint16_t etherType = 0;  // of the payload

    bool push();  // false when there is no room for another one
    void pop();   // harmless without a tag
    bool operator==(const Tags& other) const;
    // The type word number k: in front of tag k, or the payload's behind the last one.
    std::uint16_t typeWord(std::size_t k) const { return k < count ? tag[k].tpid : etherType; }
};

// What a frame to a group address is for a bridge that looks into it. Groups are known by their MAC address: IP groups
// that share one are one group here.
struct Multicast {
    enum class Kind : std::uint8_t { None, Data, Query, Report, Leave };
    Kind kind = Kind::None;
    bool ipv6 = false;
    Mac group = 0;  // 0 in a general query
    std::uint32_t maxResponseMs = 0;
    IpAddress ipGroup{};                                      // in a message, as it names the group
    const std::vector<GroupMessage::Record>* more = nullptr;  // of the frame that the packet was made of
};
Multicast::Kind kindOf(GroupMessage::Kind message);

struct Packet {
    Mac source = 0, destination = 0;
    Tags tags;
    std::optional<std::uint8_t> ipProtocol;
    std::uint8_t dscp = 0;
    std::size_t payloadSize = 0;  // octets behind the last type word
    std::uint32_t frames = 1;     // that it stands for, all of them alike
    Multicast multicast;

    std::size_t octets() const;  // of one whole frame without its check sum
    // Octets as an MTU limits them: the kernel carries the outermost tag beside the frame.
    std::size_t octetsBesideTag() const {
        return kHeaderOctets + (tags.count > 1 ? tags.count - std::size_t{1} : 0) * 4 + payloadSize;
    }
    bool isIp() const { return tags.etherType == 0x0800 || tags.etherType == 0x86DD; }
};

Packet packetOf(const Frame& frame);  // of a frame with at most kMaxTags tags
// The frame that was sent, with other tags.
Frame frameWith(const Frame& sent, const Tags& tags);

// What a frame carries beside its bytes while it is inside the device.
struct Marks {
    std::optional<std::uint32_t> gemIndex;
    std::optional<std::uint32_t> queue;
};

}  // namespace virtual_onu::datapath

#endif
