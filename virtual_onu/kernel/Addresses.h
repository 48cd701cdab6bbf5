// The IPv4 address of a network device, kept as the text that NetworkDevice::addresses shows.
#ifndef VIRTUAL_ONU_ADDRESSES_H
#define VIRTUAL_ONU_ADDRESSES_H

#include <netinet/in.h>

#include <optional>
#include <string>

#include "VirtualOnu.h"

namespace virtual_onu::network {

struct Ipv4 {
    in_addr_t address = 0, mask = 0, broadcast = 0;  // network order
};

std::string dottedIpv4(in_addr_t address);
std::optional<in_addr_t> parseIpv4(const std::string& text);
Ipv4 ipv4Of(const NetworkDevice& device);  // zeros without an address
// Sets one part as the kernel does: an address brings the mask and broadcast of its class, the other two need an
// address (EADDRNOTAVAIL).
int setIpv4(const std::string& device, in_addr_t Ipv4::*part, in_addr_t value);

}  // namespace virtual_onu::network

#endif
