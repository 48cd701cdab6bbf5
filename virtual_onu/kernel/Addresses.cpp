#include "kernel/Addresses.h"

#include <arpa/inet.h>

#include <array>
#include <cerrno>
#include <sstream>

#include "Core.h"
#include "kernel/HostKernel.h"
#include "kernel/Network.h"

namespace virtual_onu::network {
namespace {

in_addr_t classMask(in_addr_t address) {
    const in_addr_t host = ntohl(address);
    if (IN_CLASSA(host)) return htonl(IN_CLASSA_NET);
    return htonl(IN_CLASSB(host) ? IN_CLASSB_NET : IN_CLASSC_NET);
}

}  // namespace

std::string dottedIpv4(in_addr_t address) {
    std::array<char, INET_ADDRSTRLEN> text{};
    const in_addr in{address};
    return inet_ntop(AF_INET, &in, text.data(), text.size()) == nullptr ? std::string() : std::string(text.data());
}

std::optional<in_addr_t> parseIpv4(const std::string& text) {
    in_addr in{};
    if (inet_pton(AF_INET, text.c_str(), &in) != 1) return std::nullopt;
    return in.s_addr;
}

Ipv4 ipv4Of(const NetworkDevice& device) {
    Ipv4 result;
    if (device.addresses.empty()) return result;
    std::istringstream words(device.addresses.front());
    std::string address, word, value;
    words >> address;
    result.address = parseIpv4(address).value_or(0);
    while (words >> word >> value) {
        if (word == "netmask") result.mask = parseIpv4(value).value_or(0);
        if (word == "broadcast") result.broadcast = parseIpv4(value).value_or(0);
    }
    return result;
}

int setIpv4(const std::string& name, in_addr_t Ipv4::*part, in_addr_t value) {
    const DeviceAccess lock(deviceMutex());
    if (host::active()) return host::setIpv4(name, part, value);
    const auto found = device(name);
    if (!found) return ENODEV;
    if (part != &Ipv4::address && found->addresses.empty()) return EADDRNOTAVAIL;
    Ipv4 ip = ipv4Of(*found);
    ip.*part = value;
    if (part == &Ipv4::address) {
        ip.mask = classMask(value);
        ip.broadcast = value | ~ip.mask;
    }
    return setAddress(
        name, dottedIpv4(ip.address) + " netmask " + dottedIpv4(ip.mask) + " broadcast " + dottedIpv4(ip.broadcast));
}

}  // namespace virtual_onu::network
