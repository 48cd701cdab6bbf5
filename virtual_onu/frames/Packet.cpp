#include "frames/Packet.h"

#include <arpa/inet.h>

#include <algorithm>

#include "frames/Protocols.h"
#include "kernel/Network.h"

namespace virtual_onu::datapath {

namespace {

using namespace protocols;

constexpr Mac kIpv4Groups = 0x01005E000000, kIpv6Groups = 0x333300000000;

}  // namespace

Mac macOf(const std::string& text) {
    std::uint8_t bytes[6];
    if (!network::parseMac(text, bytes)) return 0;
    Mac mac = 0;
    for (const std::uint8_t byte : bytes) mac = mac << 8 | byte;
    return mac;
}

std::string textOf(Mac mac) {
    std::array<std::uint8_t, 6> bytes{};
    for (std::size_t i = bytes.size(); i-- > 0; mac >>= 8) bytes[i] = static_cast<std::uint8_t>(mac);
    return network::macText(bytes.data());
}

bool Tags::operator==(const Tags& other) const {
    return count == other.count && etherType == other.etherType &&
           std::equal(tag.begin(), tag.begin() + count, other.tag.begin());
}

bool Tags::push() {
    if (count == kMaxTags) return false;
    std::copy_backward(tag.begin(), tag.begin() + count, tag.begin() + count + 1);
    tag[0] = VlanTag{};
    ++count;
    return true;
}

void Tags::pop() {
    if (count == 0) return;
    std::copy(tag.begin() + 1, tag.begin() + count, tag.begin());
    --count;
}

std::size_t Packet::octets() const {
    return std::max(kShortestFrame, kHeaderOctets + std::size_t{4} * tags.count + payloadSize);
}

Mac groupMac(const std::uint8_t* ipGroup, bool ipv6) {
    Mac mac = 0;
    if (ipv6) {
        if (ipGroup[0] != 0xFF) return 0;
        for (std::size_t i = 12; i < 16; ++i) mac = mac << 8 | ipGroup[i];
        return kIpv6Groups | mac;
    }
    if (ipGroup[0] >> 4 != 0xE) return 0;
    mac = ipGroup[1] & 0x7F;
    for (std::size_t i = 2; i < 4; ++i) mac = mac << 8 | ipGroup[i];
    return kIpv4Groups | mac;
}

IpAddress ipAddress(const std::uint8_t* octets, bool ipv6) {
    IpAddress address{};
    std::copy_n(octets, ipv6 ? 16 : 4, address.begin());
    return address;
}

std::string textOf(const IpAddress& group) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    const bool ipv6 = group[0] == 0xFF;
    inet_ntop(ipv6 ? AF_INET6 : AF_INET, group.data(), text.data(), text.size());
    return text.data();
}

Multicast::Kind kindOf(GroupMessage::Kind message) {
    if (message == GroupMessage::Kind::Query) return Multicast::Kind::Query;
    return message == GroupMessage::Kind::Report ? Multicast::Kind::Report : Multicast::Kind::Leave;
}

namespace {

Multicast multicastOf(const Frame& frame, Mac destination) {
    Multicast result;
    result.ipv6 = frame.etherType == kIpv6;
    if (frame.groupMessage) {
        const GroupMessage& message = *frame.groupMessage;
        result.kind = kindOf(message.kind);
        const bool ipv6 = message.group.find(':') != std::string::npos;
        IpAddress& address = result.ipGroup;
        if (inet_pton(ipv6 ? AF_INET6 : AF_INET, message.group.c_str(), address.data()) == 1)
            result.group = groupMac(address.data(), ipv6);
        result.maxResponseMs = message.maxResponseMs;
        result.more = &message.more;
    } else if (frame.ipProtocol != (result.ipv6 ? kIcmpv6 : kIgmp)) {  // a message without a content is anything
        result.kind = Multicast::Kind::Data;
        result.group = destination;
    }
    return result;
}

}  // namespace

Packet packetOf(const Frame& frame) {
    Packet packet;
    packet.source = macOf(frame.source);
    packet.destination = macOf(frame.destination);
    packet.tags.count = static_cast<std::uint8_t>(frame.tags.size());
    std::copy(frame.tags.begin(), frame.tags.end(), packet.tags.tag.begin());
    packet.tags.etherType = frame.etherType;
    packet.ipProtocol = frame.ipProtocol;
    packet.dscp = frame.dscp;
    packet.payloadSize = frame.payload();
    if (isGroup(packet.destination) && packet.destination != kBroadcast && packet.isIp())
        packet.multicast = multicastOf(frame, packet.destination);
    return packet;
}

Frame frameWith(const Frame& sent, const Tags& tags) {
    Frame frame = sent;
    frame.tags.assign(tags.tag.begin(), tags.tag.begin() + tags.count);
    frame.etherType = tags.etherType;
    return frame;
}

}  // namespace virtual_onu::datapath
