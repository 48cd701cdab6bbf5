// Frames as bytes on the wire: headers that a protocol analyser finds whole, and zeros behind them.
#include <arpa/inet.h>

#include <algorithm>
#include <array>

#include "frames/Packet.h"
#include "frames/Protocols.h"

namespace virtual_onu {

namespace {

using Bytes = std::vector<std::uint8_t>;

using namespace protocols;

constexpr std::size_t kRouterAlert = 4, kIgmpMessage = 8, kMldMessage = 24;
constexpr std::size_t kUdpHeader = 8, kTcpHeader = 20, kIcmpHeader = 8;
constexpr std::size_t kArpPacket = 28, kPppoeHeader = 6, kPppoeTag = 4, kPppHeader = 2, kEapolHeader = 4,
                      kLldpUnit = 23;
constexpr std::uint8_t kHopLimit = 64;

void put16(Bytes& out, std::size_t value) {
    out.push_back(static_cast<std::uint8_t>(value >> 8));
    out.push_back(static_cast<std::uint8_t>(value));
}

void put(Bytes& out, std::initializer_list<unsigned> values) {
    for (const unsigned value : values) out.push_back(static_cast<std::uint8_t>(value));
}

void putMac(Bytes& out, datapath::Mac mac) {
    for (int shift = 40; shift >= 0; shift -= 8) out.push_back(static_cast<std::uint8_t>(mac >> shift));
}

std::uint32_t sumOf(const Bytes& bytes, std::size_t from, std::uint32_t sum = 0) {
    for (std::size_t i = from; i < bytes.size(); ++i)
        sum += static_cast<std::uint32_t>(bytes[i]) << ((i - from) % 2 == 0 ? 8 : 0);
    while (sum > 0xFFFF) sum = (sum & 0xFFFF) + (sum >> 16);
    return sum;
}

void write16(Bytes& out, std::size_t place, std::uint32_t value) {
    out[place] = static_cast<std::uint8_t>(value >> 8);
    out[place + 1] = static_cast<std::uint8_t>(value);
}

std::size_t transportHeader(std::uint8_t protocol) {
    if (protocol == kUdp) return kUdpHeader;
    if (protocol == kTcp) return kTcpHeader;
    return protocol == kIcmp || protocol == kIcmpv6 ? kIcmpHeader : 0;
}

// The header behind an IP header, and its payload: `size` octets in all, at least the header. The check sum, begun with
// the pseudo header, goes to its place.
void putTransport(Bytes& out, std::uint8_t protocol, std::size_t size, bool ipv6, std::uint32_t pseudo) {
    const std::size_t start = out.size();
    std::size_t place = 0;  // of the check sum
    if (protocol == kUdp) {
        put(out, {0xC0, 0, 0xC0, 1});
        put16(out, size);
        put16(out, 0);
        place = start + 6;
    } else if (protocol == kTcp) {
        put(out, {0xC0, 0, 0xC0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 0x50, 0x02, 0x20, 0, 0, 0, 0, 0});
        place = start + 16;
    } else if (protocol == kIcmp || protocol == kIcmpv6) {  // an echo request
        put(out, {ipv6 ? 128u : 8u, 0, 0, 0, 0, 1, 0, 1});
        place = start + 2;
    }
    out.resize(start + size, 0);
    if (place != 0) write16(out, place, ~sumOf(out, start, protocol == kIcmp ? 0 : pseudo) & 0xFFFF);
}

// ---- IPv4 ----

std::array<std::uint8_t, 4> ipv4Destination(datapath::Mac mac) {
    std::array<std::uint8_t, 4> address{192, 0, 2, 2};
    if (mac == datapath::kBroadcast) return {255, 255, 255, 255};
    if (mac >> 24 != 0x01005E) return address;
    for (std::size_t i = 1; i < 4; ++i) address[i] = static_cast<std::uint8_t>(mac >> 8 * (3 - i));
    address[0] = address[1] == 0 && address[2] == 0 ? 224 : 239;
    return address;
}

void putIgmp(Bytes& out, const GroupMessage& message) {
    const std::size_t start = out.size();
    const bool query = message.kind == GroupMessage::Kind::Query;
    put(out, {query                                        ? 0x11u
              : message.kind == GroupMessage::Kind::Report ? 0x16u
                                                           : 0x17u,
              query ? std::min(message.maxResponseMs / 100, 255u) : 0u, 0, 0});
    std::array<std::uint8_t, 4> group{};
    if (inet_pton(AF_INET, message.group.c_str(), group.data()) != 1) group = {};
    out.insert(out.end(), group.begin(), group.end());
    write16(out, start + 2, ~sumOf(out, start) & 0xFFFF);
}

void putIpv4(Bytes& out, const Frame& frame, std::size_t size) {
    const std::size_t start = out.size();
    const std::size_t header = kIpv4Header + (frame.groupMessage ? kRouterAlert : 0);
    const std::uint8_t protocol = frame.groupMessage ? kIgmp : frame.ipProtocol.value_or(kUdp);
    put(out, {0x40u | static_cast<unsigned>(header / 4), static_cast<unsigned>(frame.dscp) << 2});
    put16(out, size);
    put(out, {0, 0, 0, 0, frame.groupMessage ? 1u : kHopLimit, protocol, 0, 0, 192, 0, 2, 1});
    const auto destination = ipv4Destination(datapath::macOf(frame.destination));
    out.insert(out.end(), destination.begin(), destination.end());
    if (frame.groupMessage) put(out, {0x94, 4, 0, 0});
    write16(out, start + 10, ~sumOf(out, start) & 0xFFFF);
    if (frame.groupMessage) return putIgmp(out, *frame.groupMessage);
    const std::size_t behind = size - std::min(size, header);
    const bool fits = behind >= transportHeader(protocol);
    const Bytes addresses(out.begin() + static_cast<std::ptrdiff_t>(start) + 12, out.end());
    if (fits && behind > 0)
        putTransport(out, protocol, behind, false, sumOf(addresses, 0, protocol + static_cast<std::uint32_t>(behind)));
}

// ---- IPv6 ----

std::array<std::uint8_t, 16> ipv6Destination(datapath::Mac mac) {
    std::array<std::uint8_t, 16> address{0x20, 0x01, 0x0D, 0xB8};
    address[15] = 2;
    if (mac >> 32 != 0x3333) return address;
    address = {0xFF, 0x02};
    for (std::size_t i = 12; i < 16; ++i) address[i] = static_cast<std::uint8_t>(mac >> 8 * (15 - i));
    if (address[12] == 0xFF) address[11] = 1;  // of a solicited node
    return address;
}

void putMld(Bytes& out, const GroupMessage& message, std::uint32_t pseudo) {
    const std::size_t start = out.size();
    const bool query = message.kind == GroupMessage::Kind::Query;
    put(out, {query ? 130u : message.kind == GroupMessage::Kind::Report ? 131u : 132u, 0, 0, 0});
    put16(out, query ? std::min(message.maxResponseMs, 65535u) : 0);
    put16(out, 0);
    std::array<std::uint8_t, 16> group{};
    if (inet_pton(AF_INET6, message.group.c_str(), group.data()) != 1) group = {};
    out.insert(out.end(), group.begin(), group.end());
    write16(out, start + 2, ~sumOf(out, start, pseudo) & 0xFFFF);
}

void putIpv6(Bytes& out, const Frame& frame, std::size_t size) {
    const std::size_t start = out.size();
    const std::uint8_t protocol = frame.groupMessage ? kIcmpv6 : frame.ipProtocol.value_or(kNothingBehind);
    const std::size_t behind = size - std::min(size, kIpv6Header);
    put(out, {0x60u | static_cast<unsigned>(frame.dscp >> 2), static_cast<unsigned>(frame.dscp) << 6, 0, 0});
    put16(out, behind);
    put(out, {frame.groupMessage ? kHopByHop : protocol, frame.groupMessage ? 1u : kHopLimit});
    if (frame.groupMessage)
        put(out, {0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1});
    else
        put(out, {0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1});
    const auto destination = ipv6Destination(datapath::macOf(frame.destination));
    out.insert(out.end(), destination.begin(), destination.end());
    const std::size_t upper = frame.groupMessage ? kMldMessage : behind;
    const Bytes addresses(out.begin() + static_cast<std::ptrdiff_t>(start) + 8, out.end());
    const std::uint32_t pseudo = sumOf(addresses, 0, protocol + static_cast<std::uint32_t>(upper));
    if (frame.groupMessage) {
        put(out, {kIcmpv6, 0, 5, 2, 0, 0, 1, 0});  // router alert, padded
        return putMld(out, *frame.groupMessage, pseudo);
    }
    if (behind > 0 && behind >= transportHeader(protocol)) putTransport(out, protocol, behind, true, pseudo);
}

// ---- the others ----

void putArp(Bytes& out, const Frame& frame) {
    put(out, {0, 1, 8, 0, 6, 4, 0, 1});  // who has 192.0.2.2?
    putMac(out, datapath::macOf(frame.source));
    put(out, {192, 0, 2, 1, 0, 0, 0, 0, 0, 0, 192, 0, 2, 2});
}

void putPppoeSession(Bytes& out, const Frame& frame, std::size_t size) {
    const std::size_t behind = size - std::min(size, kPppoeHeader);
    put(out, {0x11, 0, 0, 1});
    put16(out, behind);
    put(out, {0, 0x21});
    if (behind >= kPppHeader + kIpv4Header) putIpv4(out, frame, behind - kPppHeader);
}

void putLldp(Bytes& out, const Frame& frame) {
    put(out, {0x02, 7, 4});
    putMac(out, datapath::macOf(frame.source));
    put(out, {0x04, 7, 3});
    putMac(out, datapath::macOf(frame.source));
    put(out, {0x06, 2, 0, 120, 0});
}

std::size_t shortestPayload(const Frame& frame) {
    switch (frame.etherType) {
        case kIpv4:
            return kIpv4Header + (frame.groupMessage ? kRouterAlert + kIgmpMessage : 0);
        case kIpv6:
            if (frame.groupMessage) return kIpv6Header + kHopByHopHeader + kMldMessage;
            return kIpv6Header + transportHeader(frame.ipProtocol.value_or(kNothingBehind));
        case kArp:
            return kArpPacket;
        case kPppoeDiscovery:
            return kPppoeHeader + kPppoeTag;
        case kPppoeSession:
            return kPppoeHeader + kPppHeader + kIpv4Header;
        case kEapol:
            return kEapolHeader;
        case kLldp:
            return kLldpUnit;
        default:
            return 0;
    }
}

void putPayload(Bytes& out, const Frame& frame) {
    const std::size_t size = frame.payload();
    switch (frame.etherType) {
        case kIpv4:
            return putIpv4(out, frame, size);
        case kIpv6:
            return putIpv6(out, frame, size);
        case kArp:
            return putArp(out, frame);
        case kPppoeDiscovery:
            return put(out, {0x11, 9, 0, 0, 0, 4, 1, 1, 0, 0});  // an initiation for any service
        case kPppoeSession:
            return putPppoeSession(out, frame, size);
        case kEapol:
            return put(out, {2, 1, 0, 0});  // a start
        case kLldp:
            return putLldp(out, frame);
        default:
            return;
    }
}

}  // namespace

std::size_t Frame::payload() const {
    return payloadSize != 0 ? payloadSize : shortestPayload(*this);
}

std::size_t Frame::size() const {
    return std::max(datapath::kShortestFrame, datapath::kHeaderOctets + 4 * tags.size() + payload());
}

Bytes Frame::header() const {
    Bytes out;
    putMac(out, datapath::macOf(destination));
    putMac(out, datapath::macOf(source));
    for (const VlanTag& tag : tags) {
        put16(out, tag.tpid);
        put16(out, static_cast<std::size_t>(tag.pbits << 13 | (tag.dei ? 1 << 12 : 0) | (tag.vid & 0xFFF)));
    }
    put16(out, etherType);
    return out;
}

Bytes Frame::bytes() const {
    Bytes out = header();
    putPayload(out, *this);
    out.resize(size(), 0);  // a payload too small for its protocol is cut
    return out;
}

}  // namespace virtual_onu
