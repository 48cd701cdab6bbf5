// The record that a TAP with offload has in front of each frame: what the kernel left to be done, or leaves to do.
#ifndef VIRTUAL_ONU_VNET_HEADER_H
#define VIRTUAL_ONU_VNET_HEADER_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "Frames.h"

namespace virtual_onu::taps {

// virtio_net_hdr of linux/virtio_net.h, which is no header for C++, in the host's byte order.
struct VnetHeader {
    std::uint8_t flags, type;
    std::uint16_t headers, segment, checksumFrom, checksumPlace;
};
constexpr std::size_t kVnetHeader = sizeof(VnetHeader);
static_assert(kVnetHeader == 10, "as the kernel lays it out");
constexpr std::uint8_t kNeedsChecksum = 1;
constexpr std::uint8_t kWhole = 0, kTcpIpv4 = 1, kTcpIpv6 = 4, kUdp = 5, kEcn = 0x80;  // types

// False for a kind of segment that the TAP was not asked for.
inline bool readVnetHeader(const std::uint8_t* bytes, Offload& made) {
    VnetHeader header{};
    std::memcpy(&header, bytes, sizeof header);
    made = {};
    switch (header.type & ~kEcn) {
        case kWhole:
            break;
        case kTcpIpv4:
            made.cut = Offload::Cut::TcpIpv4;
            break;
        case kTcpIpv6:
            made.cut = Offload::Cut::TcpIpv6;
            break;
        case kUdp:
            made.cut = Offload::Cut::Udp;
            break;
        default:
            return false;
    }
    made.ecn = (header.type & kEcn) != 0;
    made.checksum = (header.flags & kNeedsChecksum) != 0;
    made.checksumFrom = header.checksumFrom;
    made.checksumPlace = header.checksumPlace;
    made.headers = header.headers;
    made.segmentOctets = header.segment;
    return true;
}

inline void writeVnetHeader(const Offload& left, std::uint8_t* bytes) {
    VnetHeader header{};
    if (left.checksum) {
        header.flags = kNeedsChecksum;
        header.checksumFrom = left.checksumFrom;
        header.checksumPlace = left.checksumPlace;
    }
    if (left.cut != Offload::Cut::None) {
        header.type = left.cut == Offload::Cut::TcpIpv4   ? kTcpIpv4
                      : left.cut == Offload::Cut::TcpIpv6 ? kTcpIpv6
                                                          : kUdp;
        if (left.ecn) header.type |= kEcn;
        header.headers = left.headers;
        header.segment = left.segmentOctets;
    }
    std::memcpy(bytes, &header, sizeof header);
}

}  // namespace virtual_onu::taps

#endif
