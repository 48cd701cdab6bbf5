// Announces the management IP host to its gateway with one ARP request.
#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"

namespace {

using MacAddress = std::array<std::uint8_t, 6>;
using Ipv4Address = std::array<std::uint8_t, 4>;
using ArpFrame = std::array<std::uint8_t, 60>;  // the shortest Ethernet frame without its check sum

// Zero for null and for what is no dotted address.
Ipv4Address ipv4Of(const char* text) {
    Ipv4Address address{};
    if (text != nullptr && inet_pton(AF_INET, text, address.data()) != 1) address.fill(0);
    return address;
}

ArpFrame arpRequest(const MacAddress& sender, const Ipv4Address& senderIp, const Ipv4Address& targetIp) {
    constexpr std::array<std::uint8_t, 10> kTypeAndArpHeader = {
        0x08, 0x06,  // ARP
        0x00, 0x01,  // hardware type Ethernet
        0x08, 0x00,  // protocol IPv4
        6,    4,     // lengths of the addresses
        0x00, 0x01,  // request
    };
    ArpFrame frame{};
    auto at = std::fill_n(frame.begin(), 6, std::uint8_t{0xFF});  // to everyone
    at = std::copy(sender.begin(), sender.end(), at);
    at = std::copy(kTypeAndArpHeader.begin(), kTypeAndArpHeader.end(), at);
    at = std::copy(sender.begin(), sender.end(), at);
    at = std::copy(senderIp.begin(), senderIp.end(), at);
    at += 6;  // the target's MAC address is what is asked for
    std::copy(targetIp.begin(), targetIp.end(), at);
    return frame;
}

// Binds a packet socket to the device; false after reporting what failed.
bool bindTo(int descriptor, const char* ifName, sockaddr_ll* address) {
    ifreq request{};
    std::snprintf(request.ifr_name, sizeof request.ifr_name, "%s", ifName);
    if (ioctl(descriptor, SIOCGIFINDEX, &request) < 0) {
        std::perror("SIOCGIFINDEX(): ");
        return false;
    }
    *address = {};
    address->sll_family = AF_PACKET;
    address->sll_protocol = htons(ETH_P_ALL);
    address->sll_ifindex = request.ifr_ifindex;
    if (bind(descriptor, reinterpret_cast<sockaddr*>(address), sizeof *address) < 0) {
        std::perror("bind(): ");
        return false;
    }
    return true;
}

}  // namespace

void EtherSwitchBcm380::sendArp(const char* ifName, const char* senderIp, const char* targetIp,
                                const unsigned char* mac) {
    if (ifName == nullptr || mac == nullptr) return;
    const int descriptor = socket(AF_PACKET, SOCK_RAW, htons(ETH_P_ALL));
    if (descriptor < 0) {
        std::perror("cannot open socket ");
        return;
    }
    sockaddr_ll address{};
    if (bindTo(descriptor, ifName, &address)) {
        fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) | O_NONBLOCK);
        MacAddress sender{};
        std::copy_n(mac, sender.size(), sender.begin());
        const ArpFrame frame = arpRequest(sender, ipv4Of(senderIp), ipv4Of(targetIp));
        sendto(descriptor, frame.data(), frame.size(), 0, reinterpret_cast<sockaddr*>(&address), sizeof address);
    }
    close(descriptor);
}
