#include "frames/WireHeader.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "frames/Protocols.h"

namespace virtual_onu::datapath {

namespace {

using namespace protocols;

struct Octets {
    const std::uint8_t* at;
    std::size_t size;
    std::uint8_t u8(std::size_t place) const { return place < size ? at[place] : std::uint8_t{0}; }
    std::uint16_t u16(std::size_t place) const { return static_cast<std::uint16_t>(u8(place) << 8 | u8(place + 1)); }
};

// Reports of IGMPv3 and MLDv2 have records, each of a group, of sources behind it and of auxiliary words. A bridge
// learns from all that are whole. One that takes frames of no source any more leaves.
std::optional<WireGroup> readRecords(const Octets& message, bool ipv6) {
    constexpr std::size_t kFirstRecord = 8, kRecordGroup = 4, kAuxiliaryWord = 4;
    constexpr std::uint8_t kIsInclude = 1, kToInclude = 3, kLastType = 6;
    const std::size_t address = ipv6 ? 16 : 4;
    std::optional<WireGroup> found;
    std::size_t at = kFirstRecord;
    for (std::size_t left = message.u16(6); left > 0; --left) {
        const std::size_t from = at, sources = message.u16(from + 2);
        at += kRecordGroup + address * (1 + sources) + kAuxiliaryWord * message.u8(from + 1);
        if (at > message.size) break;
        const std::uint8_t type = message.u8(from);
        const std::uint8_t* group = message.at + from + kRecordGroup;
        if (type == 0 || type > kLastType || groupMac(group, ipv6) == 0) continue;
        const bool leaves = sources == 0 && (type == kIsInclude || type == kToInclude);
        const auto kind = leaves ? GroupMessage::Kind::Leave : GroupMessage::Kind::Report;
        if (found)
            found->more.push_back({kind, ipAddress(group, ipv6)});
        else
            found = WireGroup{kind, group};
    }
    return found;
}

void readIgmp(const Octets& message, WireHeader& made) {
    constexpr std::size_t kShortest = 8, kGroup = 4;
    if (message.size < kShortest) return;
    const std::uint8_t type = message.u8(0);
    WireGroup found;
    if (type == 0x11) {
        found.kind = GroupMessage::Kind::Query;
        found.maxResponseMs = message.u8(1) == 0 ? 10000u : message.u8(1) * 100u;
    } else if (type == 0x12 || type == 0x16) {
        found.kind = GroupMessage::Kind::Report;
    } else if (type == 0x17) {
        found.kind = GroupMessage::Kind::Leave;
    } else {
        if (type == 0x22) made.group = readRecords(message, false);
        return;
    }
    if (message.u8(kGroup) != 0) found.address = message.at + kGroup;
    made.group = found;
}

void readMld(const Octets& message, WireHeader& made) {
    constexpr std::size_t kShortest = 24, kGroup = 8;
    if (message.size < kShortest) return;
    const std::uint8_t type = message.u8(0);
    WireGroup found;
    if (type == 130) {
        found.kind = GroupMessage::Kind::Query;
        found.maxResponseMs = message.u16(4);
    } else if (type == 131) {
        found.kind = GroupMessage::Kind::Report;
    } else if (type == 132) {
        found.kind = GroupMessage::Kind::Leave;
    } else {
        if (type == 143) made.group = readRecords(message, true);
        return;
    }
    if (message.u8(kGroup) != 0) found.address = message.at + kGroup;
    made.group = found;
}

void readIpv4(const Octets& packet, WireHeader& made) {
    if (packet.size < 20) return;
    made.ipProtocol = packet.u8(9);
    made.dscp = static_cast<std::uint8_t>(packet.u8(1) >> 2);
    const std::size_t header = (packet.u8(0) & std::size_t{0xF}) * 4;
    if (packet.u8(9) == kIgmp && header < packet.size) readIgmp({packet.at + header, packet.size - header}, made);
}

void readIpv6(const Octets& packet, WireHeader& made) {
    if (packet.size < kIpv6Header) return;
    made.dscp = static_cast<std::uint8_t>((packet.u16(0) >> 6) & 0x3F);
    std::size_t at = kIpv6Header;
    std::uint8_t protocol = packet.u8(6);
    if (protocol == kHopByHop && packet.size > at + 1) {
        protocol = packet.u8(at);
        at += std::size_t{8} * (packet.u8(at + 1) + std::size_t{1});
    }
    made.ipProtocol = protocol;
    if (protocol == kIcmpv6 && at < packet.size) readMld({packet.at + at, packet.size - at}, made);
}

Mac macAt(const std::uint8_t* bytes) {
    Mac mac = 0;
    for (std::size_t i = 0; i < kMacOctets; ++i) mac = mac << 8 | bytes[i];
    return mac;
}

}  // namespace

bool isTpid(std::uint16_t type) {
    return type == 0x8100 || type == 0x88A8 || type == 0x9100;
}

bool readHeader(const std::uint8_t* bytes, std::size_t size, std::size_t wireSize, WireHeader& made) {
    if (size < kHeaderOctets) return false;
    const Octets all{bytes, size};
    made.destination = bytes;
    made.tags.count = 0;
    made.ipProtocol.reset();
    made.group.reset();
    made.dscp = 0;
    std::size_t at = 2 * kMacOctets;
    while (made.tags.count < kMaxTags && isTpid(all.u16(at)) && at + kTagOctets + 2 <= size) {
        const std::uint16_t content = all.u16(at + 2);
        made.tags.tag[made.tags.count++] = {all.u16(at), static_cast<std::uint8_t>(content >> 13),
                                            (content & 0x1000) != 0, static_cast<std::uint16_t>(content & 0xFFF)};
        at += kTagOctets;
    }
    made.tags.etherType = all.u16(at);
    made.payloadAt = at + 2;
    made.payloadSize = std::max(wireSize, size) - made.payloadAt;
    const Octets payload{bytes + made.payloadAt, size - made.payloadAt};
    if (made.tags.etherType == kIpv4) readIpv4(payload, made);
    if (made.tags.etherType == kIpv6) readIpv6(payload, made);
    return true;
}

Packet packetOf(const WireHeader& header) {
    Packet packet;
    packet.destination = macAt(header.destination);
    packet.source = macAt(header.destination + kMacOctets);
    packet.tags = header.tags;
    packet.ipProtocol = header.ipProtocol;
    packet.dscp = header.dscp;
    packet.payloadSize = header.payloadSize;
    if (!isGroup(packet.destination) || packet.destination == kBroadcast || !packet.isIp()) return packet;
    Multicast& multicast = packet.multicast;
    multicast.ipv6 = header.tags.etherType == kIpv6;
    if (header.group) {
        multicast.kind = kindOf(header.group->kind);
        if (header.group->address != nullptr) {
            multicast.group = groupMac(header.group->address, multicast.ipv6);
            multicast.ipGroup = ipAddress(header.group->address, multicast.ipv6);
        }
        multicast.maxResponseMs = header.group->maxResponseMs;
        multicast.more = &header.group->more;
    } else if (packet.ipProtocol != (multicast.ipv6 ? kIcmpv6 : kIgmp)) {
        multicast.kind = Multicast::Kind::Data;
        multicast.group = packet.destination;
    }
    return packet;
}

std::size_t writeHeader(const Tags& tags, const std::uint8_t* addresses, std::uint8_t* payload) {
    std::array<std::uint8_t, 2 * kMacOctets> kept{};
    std::memcpy(kept.data(), addresses, kept.size());
    const std::size_t size = kHeaderOctets + kTagOctets * tags.count;
    std::uint8_t* out = payload - size;
    std::memcpy(out, kept.data(), kept.size());
    out += kept.size();
    const auto put16 = [&out](unsigned value) {
        *out++ = static_cast<std::uint8_t>(value >> 8);
        *out++ = static_cast<std::uint8_t>(value);
    };
    for (std::size_t i = 0; i < tags.count; ++i) {
        const VlanTag& tag = tags.tag[i];
        put16(tag.tpid);
        put16(static_cast<unsigned>(tag.pbits << 13 | (tag.dei ? 1 << 12 : 0) | (tag.vid & 0xFFF)));
    }
    put16(tags.etherType);
    return size;
}

std::size_t writeCopy(WireSlot& slot, const Tags& tags) {
    const std::size_t header = writeHeader(tags, slot.frame, slot.payload);
    slot.frame = slot.payload - header;
    const std::size_t size = header + slot.payloadSize;
    if (size >= kShortestFrame || slot.size < kShortestFrame) return size;
    std::memset(slot.frame + size, 0, kShortestFrame - size);
    return kShortestFrame;
}

}  // namespace virtual_onu::datapath
