#include "taps/TapOffload.h"

#include <linux/if_link.h>
#include <linux/if_tun.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <array>
#include <cstddef>
#include <cstring>

#include "real_libc/RealLibc.h"
#include "taps/LinkWatch.h"
#include "taps/OwnDescriptors.h"

namespace virtual_onu::taps {

namespace {

// Both at once, or none (TUN_F_USO4, TUN_F_USO6 of Linux 6.2).
constexpr unsigned kUdpFeatures = 0x20 | 0x40;
constexpr unsigned kTcpFeatures = TUN_F_CSUM | TUN_F_TSO4 | TUN_F_TSO6 | TUN_F_TSO_ECN;
constexpr int kKernelAnswerMs = 200;

bool ask(int tap, unsigned features) {
    return real::ioctl(tap, TUNSETOFFLOAD, reinterpret_cast<void*>(static_cast<std::uintptr_t>(features))) == 0;
}

struct Attributes {
    const std::uint8_t* bytes;
    std::size_t size;
    // The value of the attribute of this kind; empty where there is none.
    Attributes of(int kind) const {
        rtattr one{};
        for (std::size_t at = 0; at + sizeof one <= size; at += RTA_ALIGN(one.rta_len)) {
            std::memcpy(&one, bytes + at, sizeof one);
            if (one.rta_len < sizeof one || one.rta_len > size - at) break;
            if ((one.rta_type & NLA_TYPE_MASK) == kind) return {bytes + at + sizeof one, one.rta_len - sizeof one};
        }
        return {nullptr, 0};
    }
};

}  // namespace

bool isMadeForOffload(const std::string& interface) {
    const int kernel = real::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    if (kernel < 0) return false;
    askForLink(kernel, static_cast<int>(real::ifNameToIndex(interface.c_str())));
    pollfd wait{kernel, POLLIN, 0};
    poll(&wait, 1, kKernelAnswerMs);
    std::array<std::uint8_t, 32768> bytes;
    const ssize_t got = own::receive(kernel, bytes.data(), bytes.size(), MSG_DONTWAIT);
    real::close(kernel);
    constexpr std::size_t kAttributes = NLMSG_LENGTH(NLMSG_ALIGN(sizeof(ifinfomsg)));
    nlmsghdr header{};
    if (got < static_cast<ssize_t>(kAttributes)) return false;
    std::memcpy(&header, bytes.data(), sizeof header);
    if (header.nlmsg_type != RTM_NEWLINK) return false;
    const Attributes all{bytes.data() + kAttributes, static_cast<std::size_t>(got) - kAttributes};
    const Attributes has = all.of(IFLA_LINKINFO).of(IFLA_INFO_DATA).of(IFLA_TUN_VNET_HDR);
    return has.size > 0 && *has.bytes != 0;
}

OffloadKinds takeOffload(int tap) {
    if (ask(tap, kTcpFeatures | kUdpFeatures)) return kUdpSegmentsToo;
    return ask(tap, kTcpFeatures) ? kTcpSegments : kNoOffload;
}

void giveOffloadBack(int tap) {
    ask(tap, 0);
}

}  // namespace virtual_onu::taps
