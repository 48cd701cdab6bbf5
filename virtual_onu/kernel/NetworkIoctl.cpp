#include "kernel/NetworkIoctl.h"

#include <fcntl.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <netinet/in.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "Core.h"
#include "Facilities.h"
#include "kernel/Addresses.h"
#include "kernel/Network.h"
#include "real_libc/RealLibc.h"

namespace virtual_onu::network {
namespace {

// The kernel's ranges: routes, interfaces, ARP, VLANs, bridges and device-private requests. The few numbers below are
// about the socket itself.
constexpr unsigned long kFirstRequest = SIOCADDRT;
constexpr unsigned long kLastRequest = SIOCPROTOPRIVATE + 15;

std::string boundedName(const char* name) {
    return std::string(name, strnlen(name, kMaxNameLength));
}

// One call: what it is about, and the text that the trace shows behind the device's name.
struct Call {
    ifreq* request = nullptr;
    std::string name;
    std::string detail;
    void shows(const std::string& text) { detail += ", " + text; }
};

using Handler = int (*)(Call&);

// Does the work on the device; ENODEV when there is none.
template <typename Work>
int onDevice(Call& call, Work work) {
    const auto found = device(call.name);
    return found ? work(*found) : ENODEV;
}

// ---- addresses ----

int answerAddress(Call& call, in_addr_t Ipv4::*member) {
    return onDevice(call, [&](const NetworkDevice& found) {
        if (found.addresses.empty()) return EADDRNOTAVAIL;
        sockaddr_in answer{};
        answer.sin_family = AF_INET;
        answer.sin_addr.s_addr = ipv4Of(found).*member;
        std::memcpy(&call.request->ifr_addr, &answer, sizeof answer);
        call.shows("&" + dottedIpv4(answer.sin_addr.s_addr));
        return 0;
    });
}

int changeAddress(Call& call, in_addr_t Ipv4::*member) {
    if (!exists(call.name)) return ENODEV;
    sockaddr_in wanted{};
    std::memcpy(&wanted, &call.request->ifr_addr, sizeof wanted);
    if (wanted.sin_family != AF_INET) return EINVAL;
    call.shows(argumentText(dottedIpv4(wanted.sin_addr.s_addr)));
    return setIpv4(call.name, member, wanted.sin_addr.s_addr);
}

// ---- handlers ----

int getIndex(Call& call) {
    return onDevice(call, [&](const NetworkDevice& found) {
        call.request->ifr_ifindex = found.index;
        call.shows(argumentText(out(static_cast<std::uint64_t>(found.index))));
        return 0;
    });
}

int getName(Call& call) {
    const auto found = deviceOfIndex(call.request->ifr_ifindex);
    if (!found) return ENODEV;
    call.name = found->name;
    std::memset(call.request->ifr_name, 0, IFNAMSIZ);
    found->name.copy(call.request->ifr_name, kMaxNameLength);
    call.shows(argumentText(found->index));
    return 0;
}

int getFlags(Call& call) {
    return onDevice(call, [&](const NetworkDevice& found) {
        call.request->ifr_flags = static_cast<short>(kernelFlags(found));
        call.shows(argumentText(out(kernelFlags(found))));
        return 0;
    });
}

int setFlagsOf(Call& call) {
    const auto flags = static_cast<unsigned short>(call.request->ifr_flags);
    call.shows(argumentText(flags));
    return setFlags(call.name, flags);
}

int getMtu(Call& call) {
    return onDevice(call, [&](const NetworkDevice& found) {
        call.request->ifr_mtu = found.mtu;
        call.shows(argumentText(out(static_cast<std::uint64_t>(found.mtu))));
        return 0;
    });
}

int setMtuOf(Call& call) {
    call.shows(argumentText(call.request->ifr_mtu));
    return setMtu(call.name, call.request->ifr_mtu);
}

int getMac(Call& call) {
    return onDevice(call, [&](const NetworkDevice& found) {
        std::uint8_t mac[6] = {};
        parseMac(found.mac, mac);
        call.request->ifr_hwaddr = {};
        call.request->ifr_hwaddr.sa_family = ARPHRD_ETHER;
        std::memcpy(call.request->ifr_hwaddr.sa_data, mac, sizeof mac);
        call.shows("&" + found.mac);
        return 0;
    });
}

int setMacOf(Call& call) {
    std::uint8_t mac[6];
    std::memcpy(mac, call.request->ifr_hwaddr.sa_data, sizeof mac);
    call.shows(argumentText(macText(mac)));
    if (!exists(call.name)) return ENODEV;
    if (call.request->ifr_hwaddr.sa_family != ARPHRD_ETHER) return EINVAL;
    return setMac(call.name, macText(mac));
}

int changePorts(Call& call, int (*change)(const std::string&, const std::string&)) {
    const auto port = deviceOfIndex(call.request->ifr_ifindex);
    call.shows(port ? argumentText(port->name) : argumentText(call.request->ifr_ifindex));
    return change(call.name, port ? port->name : std::string());
}

struct Request {
    unsigned long number;
    const char* name;
    Handler handler;
};

constexpr std::array<Request, 17> kRequests = {{
    {SIOCGIFINDEX, "SIOCGIFINDEX", getIndex},
    {SIOCGIFNAME, "SIOCGIFNAME", getName},
    {SIOCGIFFLAGS, "SIOCGIFFLAGS", getFlags},
    {SIOCSIFFLAGS, "SIOCSIFFLAGS", setFlagsOf},
    {SIOCGIFMTU, "SIOCGIFMTU", getMtu},
    {SIOCSIFMTU, "SIOCSIFMTU", setMtuOf},
    {SIOCGIFHWADDR, "SIOCGIFHWADDR", getMac},
    {SIOCSIFHWADDR, "SIOCSIFHWADDR", setMacOf},
    {SIOCGIFADDR, "SIOCGIFADDR", [](Call& call) { return answerAddress(call, &Ipv4::address); }},
    {SIOCSIFADDR, "SIOCSIFADDR", [](Call& call) { return changeAddress(call, &Ipv4::address); }},
    {SIOCGIFNETMASK, "SIOCGIFNETMASK", [](Call& call) { return answerAddress(call, &Ipv4::mask); }},
    {SIOCSIFNETMASK, "SIOCSIFNETMASK", [](Call& call) { return changeAddress(call, &Ipv4::mask); }},
    {SIOCGIFBRDADDR, "SIOCGIFBRDADDR", [](Call& call) { return answerAddress(call, &Ipv4::broadcast); }},
    {SIOCSIFBRDADDR, "SIOCSIFBRDADDR", [](Call& call) { return changeAddress(call, &Ipv4::broadcast); }},
    {SIOCBRADDIF, "SIOCBRADDIF", [](Call& call) { return changePorts(call, addPort); }},
    {SIOCBRDELIF, "SIOCBRDELIF", [](Call& call) { return changePorts(call, removePort); }},
    {SIOCGIFCONF, "SIOCGIFCONF", nullptr},  // its argument is no ifreq; see listAddresses
}};

std::string requestName(unsigned long request) {
    if (request == SIOCBRADDBR) return "SIOCBRADDBR";
    if (request == SIOCBRDELBR) return "SIOCBRDELBR";
    for (const auto& known : kRequests) {
        if (known.number == request) return known.name;
    }
    char text[24];
    std::snprintf(text, sizeof text, "0x%lx", request);
    return text;
}

// SIOCGIFCONF: the devices that have an address, as many as the caller's buffer takes.
int listAddresses(ifconf& list) {
    int used = 0;
    for (const auto& found : devices()) {
        if (found.addresses.empty()) continue;
        ifreq entry{};
        found.name.copy(entry.ifr_name, kMaxNameLength);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = ipv4Of(found).address;
        std::memcpy(&entry.ifr_addr, &address, sizeof address);
        if (list.ifc_buf != nullptr) {
            if (used + static_cast<int>(sizeof entry) > list.ifc_len) break;
            std::memcpy(list.ifc_buf + used, &entry, sizeof entry);
        }
        used += static_cast<int>(sizeof entry);
    }
    list.ifc_len = used;
    return 0;
}

// Does the request and puts what the trace shows behind its name into text.
int perform(unsigned long request, void* argument, std::string& text) {
    if (argument == nullptr) return EFAULT;
    if (request == SIOCBRADDBR || request == SIOCBRDELBR) {
        const std::string name = boundedName(static_cast<const char*>(argument));
        text = ", " + argumentText(name);
        return request == SIOCBRADDBR ? addBridge(name) : removeBridge(name);
    }
    if (request == SIOCGIFCONF) return listAddresses(*static_cast<ifconf*>(argument));
    Call call;
    call.request = static_cast<ifreq*>(argument);
    for (const auto& known : kRequests) {
        if (known.number != request) continue;
        if (request != SIOCGIFNAME) call.name = boundedName(call.request->ifr_name);
        const int error = known.handler(call);
        text = ", " + argumentText(call.name) + call.detail;
        return error;
    }
    return EOPNOTSUPP;
}

// What the kernel finds wrong with the descriptor itself.
int checkSocket(int fd) {
    struct stat status {};
    if (real::fcntl(fd, F_GETFD, nullptr) < 0 || fstat(fd, &status) != 0) return EBADF;
    return S_ISSOCK(status.st_mode) ? 0 : ENOTTY;
}

}  // namespace

bool ownsRequest(unsigned long request) {
    return request >= kFirstRequest && request <= kLastRequest;
}

int interfaceIoctl(int fd, unsigned long request, void* argument) {
    const std::string name = requestName(request);
    std::string text;
    int error = 0;
    if (const auto fault = faultOf("ioctl", name)) {
        error = *fault;
        // The device's name is worth showing for a call that never came to the kernel, too.
        if (argument != nullptr) text = ", " + argumentText(boundedName(static_cast<const char*>(argument)));
    } else if (hostKernel()) {
        error = real::ioctl(fd, request, argument) < 0 ? errno : 0;
    } else {
        error = checkSocket(fd);
        if (error == 0) error = perform(request, argument, text);
    }
    record(CallKind::Ioctl, "ioctl", name + text, -error);
    return -error;
}

int indexOfName(const char* name) {
    const auto found = name == nullptr ? std::nullopt : device(boundedName(name));
    return found ? found->index : -ENODEV;
}

int nameOfIndex(unsigned index, char* name) {
    const auto found = deviceOfIndex(static_cast<int>(index));
    if (!found) return -ENXIO;
    std::memset(name, 0, IFNAMSIZ);
    found->name.copy(name, kMaxNameLength);
    return 0;
}

}  // namespace virtual_onu::network
