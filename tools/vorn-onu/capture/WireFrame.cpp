#include "capture/WireFrame.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>

namespace vorn_onu {

namespace {

using virtual_onu::Frame;
using virtual_onu::GroupMessage;

constexpr std::size_t kMacSize = 6, kTagSize = 4, kHeaderSize = 14, kShortestFrame = 60;
constexpr std::uint16_t kIpv4 = 0x0800, kIpv6 = 0x86DD;
constexpr std::uint8_t kHopByHop = 0, kIgmp = 2, kIcmpv6 = 58;
constexpr std::size_t kIpv6Header = 40;

struct Octets {
    const std::uint8_t* at;
    std::size_t size;
    std::uint8_t u8(std::size_t place) const { return place < size ? at[place] : std::uint8_t{0}; }
    std::uint16_t u16(std::size_t place) const { return static_cast<std::uint16_t>(u8(place) << 8 | u8(place + 1)); }
};

void writeMac(const std::uint8_t* bytes, std::string& text) {
    static constexpr char kDigits[] = "0123456789abcdef";
    text.resize(3 * kMacSize - 1);
    for (std::size_t i = 0; i < kMacSize; ++i) {
        text[3 * i] = kDigits[bytes[i] >> 4];
        text[3 * i + 1] = kDigits[bytes[i] & 0xF];
        if (i + 1 < kMacSize) text[3 * i + 2] = ':';
    }
}

bool isTpid(std::uint16_t type) {
    return type == 0x8100 || type == 0x88A8 || type == 0x9100;
}

std::string addressText(int family, const std::uint8_t* address) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    return inet_ntop(family, address, text.data(), text.size()) == nullptr ? "" : text.data();
}

// Reports of the newer protocols name several groups; a bridge learns from the first.
void readIgmp(const Octets& message, Frame& frame) {
    constexpr std::size_t kShortest = 8, kFirstRecord = 8, kRecordGroup = 4;
    if (message.size < kShortest) return;
    const std::uint8_t type = message.u8(0);
    GroupMessage found;
    std::size_t group = 4;
    if (type == 0x11) {
        found.kind = GroupMessage::Kind::Query;
        found.maxResponseMs = message.u8(1) == 0 ? 10000u : message.u8(1) * 100u;
    } else if (type == 0x12 || type == 0x16) {
        found.kind = GroupMessage::Kind::Report;
    } else if (type == 0x17) {
        found.kind = GroupMessage::Kind::Leave;
    } else if (type == 0x22 && message.u16(6) > 0 && message.size >= kFirstRecord + kRecordGroup + 4) {
        found.kind = GroupMessage::Kind::Report;
        group = kFirstRecord + kRecordGroup;
    } else {
        return;
    }
    if (message.u8(group) != 0) found.group = addressText(AF_INET, message.at + group);
    frame.groupMessage = found;
}

void readMld(const Octets& message, Frame& frame) {
    constexpr std::size_t kShortest = 24, kFirstRecord = 8, kRecordGroup = 4, kGroup = 8;
    const std::uint8_t type = message.u8(0);
    GroupMessage found;
    std::size_t group = kGroup;
    if (type == 130) {
        found.kind = GroupMessage::Kind::Query;
        found.maxResponseMs = message.u16(4);
    } else if (type == 131) {
        found.kind = GroupMessage::Kind::Report;
    } else if (type == 132) {
        found.kind = GroupMessage::Kind::Leave;
    } else if (type == 143 && message.u16(6) > 0) {
        found.kind = GroupMessage::Kind::Report;
        group = kFirstRecord + kRecordGroup;
    } else {
        return;
    }
    if (message.size < std::max(kShortest, group + 16)) return;
    if (message.u8(group) != 0) found.group = addressText(AF_INET6, message.at + group);
    frame.groupMessage = found;
}

void readIpv4(const Octets& packet, Frame& frame) {
    if (packet.size < 20) return;
    frame.ipProtocol = packet.u8(9);
    frame.dscp = static_cast<std::uint8_t>(packet.u8(1) >> 2);
    const std::size_t header = (packet.u8(0) & std::size_t{0xF}) * 4;
    if (packet.u8(9) == kIgmp && header < packet.size) readIgmp({packet.at + header, packet.size - header}, frame);
}

void readIpv6(const Octets& packet, Frame& frame) {
    if (packet.size < kIpv6Header) return;
    frame.dscp = static_cast<std::uint8_t>((packet.u16(0) >> 6) & 0x3F);
    std::size_t at = kIpv6Header;
    std::uint8_t protocol = packet.u8(6);
    if (protocol == kHopByHop && packet.size > at + 1) {
        protocol = packet.u8(at);
        at += std::size_t{8} * (packet.u8(at + 1) + std::size_t{1});
    }
    frame.ipProtocol = protocol;
    if (protocol == kIcmpv6 && at < packet.size) readMld({packet.at + at, packet.size - at}, frame);
}

}  // namespace

bool readFrame(const std::uint8_t* bytes, std::size_t size, std::size_t wireSize, WireFrame& made) {
    if (size < kHeaderSize) return false;
    const Octets all{bytes, size};
    Frame& frame = made.frame;
    writeMac(bytes, frame.destination);
    writeMac(bytes + kMacSize, frame.source);
    frame.tags.clear();
    frame.ipProtocol.reset();
    frame.groupMessage.reset();
    frame.dscp = 0;
    std::size_t at = 2 * kMacSize;
    while (frame.tags.size() < virtual_onu::kMostTags && isTpid(all.u16(at)) && at + kTagSize + 2 <= size) {
        const std::uint16_t content = all.u16(at + 2);
        frame.tags.push_back({all.u16(at), static_cast<std::uint8_t>(content >> 13), (content & 0x1000) != 0,
                              static_cast<std::uint16_t>(content & 0xFFF)});
        at += kTagSize;
    }
    frame.etherType = all.u16(at);
    made.payloadAt = at + 2;
    frame.payloadSize = std::max(wireSize, size) - made.payloadAt;
    const Octets payload{bytes + made.payloadAt, size - made.payloadAt};
    if (frame.etherType == kIpv4) readIpv4(payload, frame);
    if (frame.etherType == kIpv6) readIpv6(payload, frame);
    return true;
}

void writeFrame(const Frame& left, const std::uint8_t* bytes, std::size_t size, std::size_t payloadAt,
                std::vector<std::uint8_t>& out) {
    out.assign(bytes, bytes + 2 * kMacSize);
    const auto put16 = [&out](unsigned value) {
        out.push_back(static_cast<std::uint8_t>(value >> 8));
        out.push_back(static_cast<std::uint8_t>(value));
    };
    for (const virtual_onu::VlanTag& tag : left.tags) {
        put16(tag.tpid);
        put16(static_cast<unsigned>(tag.pbits << 13 | (tag.dei ? 1 << 12 : 0) | tag.vid));
    }
    put16(left.etherType);
    out.insert(out.end(), bytes + payloadAt, bytes + size);
    if (out.size() < kShortestFrame && size >= kShortestFrame) out.resize(kShortestFrame, 0);
}

}  // namespace vorn_onu
