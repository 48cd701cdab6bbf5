// Bytes as a frame's fields, and back with the payload that went in.
#include <arpa/inet.h>

#include <algorithm>
#include <array>

#include "HexDigits.h"
#include "frames/WireHeader.h"

namespace virtual_onu {

namespace {

using datapath::kMacOctets;
using datapath::WireGroup;
using datapath::WireHeader;

void writeMac(const std::uint8_t* bytes, std::string& text) {
    text.assign(3 * kMacOctets - 1, ':');
    for (std::size_t i = 0; i < kMacOctets; ++i) {
        text[3 * i] = kHexDigits[bytes[i] >> 4];
        text[3 * i + 1] = kHexDigits[bytes[i] & 0xF];
    }
}

GroupMessage messageOf(const WireGroup& group, bool ipv6) {
    GroupMessage message;
    message.kind = group.kind;
    message.maxResponseMs = group.maxResponseMs;
    message.more = group.more;
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (group.address != nullptr &&
        inet_ntop(ipv6 ? AF_INET6 : AF_INET, group.address, text.data(), text.size()) != nullptr)
        message.group = text.data();
    return message;
}

}  // namespace

bool readFrame(const std::uint8_t* bytes, std::size_t size, std::size_t wireSize, WireFrame& made) {
    WireHeader header;
    if (!datapath::readHeader(bytes, size, wireSize, header)) return false;
    Frame& frame = made.frame;
    writeMac(bytes, frame.destination);
    writeMac(bytes + kMacOctets, frame.source);
    frame.tags.assign(header.tags.tag.begin(), header.tags.tag.begin() + header.tags.count);
    frame.etherType = header.tags.etherType;
    frame.ipProtocol = header.ipProtocol;
    frame.dscp = header.dscp;
    frame.payloadSize = header.payloadSize;
    frame.groupMessage.reset();
    if (header.group) frame.groupMessage = messageOf(*header.group, frame.etherType == 0x86DD);
    made.payloadAt = header.payloadAt;
    return true;
}

void writeFrame(const Frame& left, const std::uint8_t* bytes, std::size_t size, std::size_t payloadAt,
                std::vector<std::uint8_t>& out) {
    datapath::Tags tags;
    tags.count = static_cast<std::uint8_t>(left.tags.size());
    std::copy(left.tags.begin(), left.tags.end(), tags.tag.begin());
    tags.etherType = left.etherType;
    out.resize(datapath::kHeaderOctets + datapath::kTagOctets * tags.count);
    datapath::writeHeader(tags, bytes, out.data() + out.size());
    out.insert(out.end(), bytes + payloadAt, bytes + size);
    if (out.size() < datapath::kShortestFrame && size >= datapath::kShortestFrame)
        out.resize(datapath::kShortestFrame, 0);
}

}  // namespace virtual_onu
