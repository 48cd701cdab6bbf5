// Numbers of protocols in frames: EtherTypes, and protocols of IPv4 and IPv6.
#ifndef VIRTUAL_ONU_PROTOCOLS_H
#define VIRTUAL_ONU_PROTOCOLS_H

#include <cstddef>
#include <cstdint>

namespace virtual_onu::protocols {

constexpr std::uint16_t kIpv4 = 0x0800, kArp = 0x0806, kIpv6 = 0x86DD, kPppoeDiscovery = 0x8863, kPppoeSession = 0x8864,
                        kEapol = 0x888E, kLldp = 0x88CC;
constexpr std::uint8_t kHopByHop = 0, kIcmp = 1, kIgmp = 2, kTcp = 6, kUdp = 17, kIcmpv6 = 58, kNothingBehind = 59;

// Octets of headers.
constexpr std::size_t kIpv4Header = 20, kIpv6Header = 40, kHopByHopHeader = 8;

}  // namespace virtual_onu::protocols

#endif
