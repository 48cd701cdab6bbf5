// Frames as text and as bytes.
#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

#include "Frames.h"
#include "kernel/Network.h"

namespace virtual_onu {

namespace {

constexpr std::size_t kShortestFrame = 60;
constexpr std::uint16_t kIpv4 = 0x0800;
constexpr std::uint16_t kIpv6 = 0x86DD;

struct NamedType {
    std::uint16_t value;
    const char* name;
};
constexpr std::array<NamedType, 6> kTypeNames = {{{0x0800, "IPv4"},
                                                  {0x0806, "ARP"},
                                                  {0x86DD, "IPv6"},
                                                  {0x8863, "PPPoE discovery"},
                                                  {0x8864, "PPPoE session"},
                                                  {0x888E, "EAPOL"}}};

std::string hex(std::uint16_t value) {
    char text[8];
    std::snprintf(text, sizeof text, "0x%04x", value);
    return text;
}

std::string typeName(std::uint16_t type) {
    const auto* found =
        std::find_if(kTypeNames.begin(), kTypeNames.end(), [&](const NamedType& entry) { return entry.value == type; });
    return found != kTypeNames.end() ? found->name : "type " + hex(type);
}

void put16(std::vector<std::uint8_t>& out, unsigned value) {
    out.push_back(static_cast<std::uint8_t>(value >> 8));
    out.push_back(static_cast<std::uint8_t>(value));
}

void putMac(std::vector<std::uint8_t>& out, const std::string& mac) {
    std::uint8_t bytes[6] = {};
    network::parseMac(mac, bytes);  // a text that is no MAC address leaves zeros
    out.insert(out.end(), std::begin(bytes), std::end(bytes));
}

void putIpv4Header(std::vector<std::uint8_t>& out, const Frame& frame) {
    std::array<std::uint8_t, 20> header{
        0x45, static_cast<std::uint8_t>(frame.dscp << 2), 0, 20, 0, 0, 0, 0, 64, frame.ipProtocol.value_or(17)};
    header[12] = 192, header[13] = 0, header[14] = 2, header[15] = 1;
    header[16] = 192, header[17] = 0, header[18] = 2, header[19] = 2;
    unsigned sum = 0;
    for (std::size_t i = 0; i < header.size(); i += 2) sum += static_cast<unsigned>(header[i] << 8 | header[i + 1]);
    while (sum > 0xFFFF) sum = (sum & 0xFFFF) + (sum >> 16);
    header[10] = static_cast<std::uint8_t>(~sum >> 8);
    header[11] = static_cast<std::uint8_t>(~sum);
    out.insert(out.end(), header.begin(), header.end());
}

void putIpv6Header(std::vector<std::uint8_t>& out, const Frame& frame) {
    std::array<std::uint8_t, 40> header{};
    header[0] = static_cast<std::uint8_t>(0x60 | frame.dscp >> 2);
    header[1] = static_cast<std::uint8_t>(frame.dscp << 6);
    header[6] = frame.ipProtocol.value_or(59);
    header[7] = 64;
    out.insert(out.end(), header.begin(), header.end());
}

}  // namespace

bool VlanTag::operator==(const VlanTag& other) const {
    return tpid == other.tpid && pbits == other.pbits && dei == other.dei && vid == other.vid;
}

std::string VlanTag::text() const {
    std::string text = "VID " + std::to_string(vid) + " p" + std::to_string(pbits);
    if (dei) text += " DEI";
    if (tpid != 0x8100) text += " TPID " + hex(tpid);
    return text;
}

bool Frame::operator==(const Frame& other) const {
    return source == other.source && destination == other.destination && tags == other.tags &&
           etherType == other.etherType && ipProtocol == other.ipProtocol && dscp == other.dscp;
}

std::string Frame::text() const {
    std::string text;
    for (const VlanTag& tag : tags) text += tag.text() + ", ";
    if (tags.empty()) text = "untagged ";
    text += typeName(etherType);
    if (ipProtocol) text += *ipProtocol == 2 ? " IGMP" : " protocol " + std::to_string(*ipProtocol);
    if (dscp != 0) text += " DSCP " + std::to_string(dscp);
    return text;
}

std::vector<std::uint8_t> Frame::bytes() const {
    std::vector<std::uint8_t> out;
    putMac(out, destination);
    putMac(out, source);
    for (const VlanTag& tag : tags) {
        put16(out, tag.tpid);
        put16(out, static_cast<unsigned>(tag.pbits << 13 | (tag.dei ? 1 << 12 : 0) | (tag.vid & 0xFFF)));
    }
    put16(out, etherType);
    if (etherType == kIpv4) putIpv4Header(out, *this);
    if (etherType == kIpv6) putIpv6Header(out, *this);
    out.resize(std::max(out.size(), kShortestFrame), 0);
    return out;
}

}  // namespace virtual_onu
