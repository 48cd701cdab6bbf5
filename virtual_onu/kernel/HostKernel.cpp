#include "kernel/HostKernel.h"

#include <fcntl.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>

#include "kernel/HostSysfs.h"
#include "kernel/Network.h"
#include "real_libc/RealLibc.h"

namespace virtual_onu::host {
namespace {

constexpr std::size_t kPeerPrefix = 2;  // of "p-"

struct Origin {
    std::string realDevice;
    bool routed = false;
    bool multicast = false;
};

struct State {
    std::set<std::string> before;        // devices that existed when the mode was entered
    std::map<std::string, Origin> made;  // by name
};

std::atomic<bool> isActive{false};

State& state() {
    static State& theState = *new State;
    return theState;
}

// ---- requests to the kernel ----

int request(unsigned long number, void* argument) {
    const int fd = real::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return errno;
    const int error = real::ioctl(fd, number, argument) < 0 ? errno : 0;
    real::close(fd);
    return error;
}

ifreq requestFor(const std::string& name) {
    ifreq result{};
    name.copy(result.ifr_name, network::kMaxNameLength);
    return result;
}

// Device names go to the tool's batch input, where these characters have no meaning of their own.
bool isPlain(const std::string& name) {
    return !name.empty() && name.size() <= network::kMaxNameLength && name != "." && name != ".." && name[0] != '-' &&
           std::all_of(name.begin(), name.end(), network::isPlainCharacter);
}

bool runIpBatch(const std::string& lines) {
    // The tool must not find this library preloaded: its own requests are for the real kernel.
    std::FILE* pipe = real::popen("LD_PRELOAD= ip -batch - >/dev/null 2>&1", "w");
    if (pipe == nullptr) return false;
    std::fputs(lines.c_str(), pipe);
    return real::pclose(pipe) == 0;
}

std::string peerOf(const std::string& name) {
    return name.size() + kPeerPrefix <= network::kMaxNameLength ? "p-" + name : std::string();
}

// The far end is up from the start, so that the device has a carrier as soon as it is up itself.
std::string linesToMake(const std::string& name) {
    const std::string peer = peerOf(name);
    if (peer.empty()) return "link add " + name + " type veth\n";
    return "link add " + name + " type veth peer name " + peer + "\nlink set " + peer + " up\n";
}

int makeDevice(const std::string& name, const Origin& origin) {
    if (!isPlain(name)) return EINVAL;
    if (kernel::exists(name)) return EEXIST;
    if (!runIpBatch(linesToMake(name))) return EPERM;
    state().made[name] = origin;
    return 0;
}

std::vector<std::string> factoryNames() {
    std::vector<std::string> names = {"gpondef", "eth0", "eth1"};
    for (int port = 0; port < 8; ++port) names.push_back("sid" + std::to_string(port));
    return names;
}

// ---- may the mode be entered? ----

std::string linkTarget(const char* path) {
    std::array<char, 128> target{};
    const ssize_t length = readlink(path, target.data(), target.size() - 1);
    return length < 0 ? std::string() : std::string(target.data(), static_cast<std::size_t>(length));
}

// Empty, or why this is no place to make devices in. Where the first process's namespace cannot be read, a namespace
// with a device that is up is taken for one that somebody uses.
std::string objection() {
    if (geteuid() != 0) return "host kernel mode needs the rights of root";
    const bool anyTool = std::any_of(kernel::kToolFolders.begin(), kernel::kToolFolders.end(), [](const char* folder) {
        return real::access((std::string(folder) + "/ip").c_str(), X_OK) == 0;
    });
    if (!anyTool) return "host kernel mode needs the program \"ip\"";
    const std::string own = linkTarget("/proc/self/ns/net");
    const std::string first = linkTarget("/proc/1/ns/net");
    if (own.empty()) return "/proc does not tell the network namespace";
    if (own == first) return "this is the network namespace of the host; run inside \"unshare -n -m\"";
    for (const auto& name : kernel::names()) {
        if (first.empty() && name != "lo" && kernel::isUp(name)) {
            return "the network namespace is in use: " + name + " is up";
        }
    }
    for (const auto& name : factoryNames()) {
        ifreq query = requestFor(name);
        if (request(SIOCGIFINDEX, &query) == 0) return "a device called " + name + " exists already";
    }
    return "";
}

}  // namespace

bool active() {
    return isActive.load(std::memory_order_acquire);
}

bool enter(std::string* why) {
    std::string reason = objection();
    if (reason.empty()) {
        const auto names = kernel::names();
        state().before = {names.begin(), names.end()};
        std::string lines;
        for (const auto& name : factoryNames()) {
            lines += linesToMake(name);
            state().made[name] = {};
        }
        isActive.store(true, std::memory_order_release);
        if (!runIpBatch(lines)) {
            reason = "the kernel refuses to make veth devices";
        } else if (!kernel::exists("gpondef")) {
            reason = "/sys shows another network namespace; mount a fresh sysfs on it";
        }
        if (!reason.empty()) leave();
    }
    if (!reason.empty() && why != nullptr) *why = reason;
    return reason.empty();
}

void leave() {
    if (!active()) return;
    std::set<std::string> surplus;
    for (const auto& name : kernel::names()) {
        if (state().before.count(name) == 0) surplus.insert(name);
    }
    for (const auto& [name, origin] : state().made) surplus.insert(name);
    // One at a time: the far end of a pair goes with the near one.
    for (const auto& name : surplus) runIpBatch("link del " + name + "\n");
    state() = State{};
    isActive.store(false, std::memory_order_release);
}

// ---- devices ----

int addVlanDevice(const std::string& name, const std::string& realDevice, bool routed, bool multicast) {
    if (!kernel::exists(realDevice)) return ENODEV;
    return makeDevice(name, {realDevice, routed, multicast});
}

int addDevice(const std::string& name, const std::string& realDevice) {
    return makeDevice(name, {realDevice, false, false});
}

int removeDevice(const std::string& name) {
    if (!isPlain(name) || !kernel::exists(name)) return ENODEV;
    if (!runIpBatch("link del " + name + "\n")) return EPERM;
    state().made.erase(name);
    return 0;
}

int addBridge(const std::string& name) {
    return request(SIOCBRADDBR, requestFor(name).ifr_name);
}
int removeBridge(const std::string& name) {
    return request(SIOCBRDELBR, requestFor(name).ifr_name);
}

namespace {

int changePorts(unsigned long number, const std::string& bridge, const std::string& device) {
    ifreq change = requestFor(bridge);
    change.ifr_ifindex = static_cast<int>(real::ifNameToIndex(device.c_str()));
    return request(number, &change);
}

}  // namespace

int addPort(const std::string& bridge, const std::string& device) {
    return changePorts(SIOCBRADDIF, bridge, device);
}
int removePort(const std::string& bridge, const std::string& device) {
    return changePorts(SIOCBRDELIF, bridge, device);
}

int setFlags(const std::string& name, unsigned flags) {
    ifreq change = requestFor(name);
    change.ifr_flags = static_cast<short>(flags);
    return request(SIOCSIFFLAGS, &change);
}

int setMtu(const std::string& name, int mtu) {
    ifreq change = requestFor(name);
    change.ifr_mtu = mtu;
    return request(SIOCSIFMTU, &change);
}

int setMac(const std::string& name, const std::uint8_t (&mac)[6]) {
    ifreq change = requestFor(name);
    change.ifr_hwaddr.sa_family = ARPHRD_ETHER;
    std::memcpy(change.ifr_hwaddr.sa_data, mac, sizeof mac);
    return request(SIOCSIFHWADDR, &change);
}

int setIpv4(const std::string& name, in_addr_t network::Ipv4::*part, in_addr_t value) {
    ifreq change = requestFor(name);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = value;
    std::memcpy(&change.ifr_addr, &address, sizeof address);
    if (part == &network::Ipv4::address) return request(SIOCSIFADDR, &change);
    return request(part == &network::Ipv4::mask ? SIOCSIFNETMASK : SIOCSIFBRDADDR, &change);
}

// ---- bridges ----

int writeKernelFile(const std::string& path, const std::string& text) {
    const int fd = real::open(path.c_str(), O_WRONLY | O_CLOEXEC, 0);
    if (fd < 0) return errno;
    const int error = real::write(fd, text.data(), text.size()) < 0 ? errno : 0;
    real::close(fd);
    return error;
}

int changeBridge(const std::string& name, const std::function<int(Bridge&)>& change) {
    const auto before = kernel::bridge(name);
    if (!before) return ENODEV;
    Bridge after = *before;
    int error = change(after);
    const auto store = [&](const char* attribute, int from, int to) {
        if (error == 0 && from != to) error = writeKernelFile(kernel::path(name, attribute), std::to_string(to));
    };
    store("bridge/stp_state", before->stp, after.stp);
    store("bridge/forward_delay", before->forwardDelay, after.forwardDelay);
    store("bridge/hello_time", before->helloTime, after.helloTime);
    store("bridge/max_age", before->maxAge, after.maxAge);
    store("bridge/ageing_time", before->ageingTime, after.ageingTime);
    store("bridge/priority", before->priority, after.priority);
    return error;
}

int changePort(const std::string& name, const std::function<int(BridgePort&)>& change) {
    const auto before = kernel::port(name);
    if (!before) return ENODEV;
    BridgePort after = *before;
    int error = change(after);
    const auto store = [&](const char* attribute, int from, int to) {
        if (error == 0 && from != to) error = writeKernelFile(kernel::path(name, attribute), std::to_string(to));
    };
    store("brport/priority", before->priority, after.priority);
    store("brport/path_cost", before->pathCost, after.pathCost);
    store("brport/isolated", before->isolated ? 1 : 0, after.isolated ? 1 : 0);
    return error;
}

int runIp(const std::string& command) {
    return runIpBatch(command + "\n") ? 0 : EINVAL;
}

// ---- what is in the kernel ----

namespace {

in_addr_t addressPart(const std::string& name, unsigned long number) {
    ifreq query = requestFor(name);
    sockaddr_in address{};
    if (request(number, &query) != 0) return 0;
    std::memcpy(&address, &query.ifr_addr, sizeof address);
    return address.sin_addr.s_addr;
}

}  // namespace

std::optional<NetworkDevice> device(const std::string& name) {
    if (name == "lo" || !isPlain(name)) return std::nullopt;
    auto found = kernel::device(name);
    if (!found) return std::nullopt;
    const auto origin = state().made.find(name);
    if (origin != state().made.end()) {
        found->realDevice = origin->second.realDevice;
        found->routed = origin->second.routed;
        found->multicast = origin->second.multicast;
    }
    const in_addr_t address = addressPart(name, SIOCGIFADDR);
    if (address != 0) {
        found->addresses = {network::dottedIpv4(address) + " netmask " +
                            network::dottedIpv4(addressPart(name, SIOCGIFNETMASK)) + " broadcast " +
                            network::dottedIpv4(addressPart(name, SIOCGIFBRDADDR))};
    }
    return found;
}

std::vector<NetworkDevice> devices() {
    std::vector<NetworkDevice> all;
    for (const auto& name : kernel::names()) {
        const bool farEnd = name.rfind("p-", 0) == 0 && state().made.count(name.substr(kPeerPrefix)) != 0;
        const bool foreign = state().before.count(name) != 0;
        if (farEnd || foreign) continue;
        if (auto found = device(name)) all.push_back(std::move(*found));
    }
    std::sort(all.begin(), all.end(), [](const auto& left, const auto& right) { return left.index < right.index; });
    return all;
}

std::vector<Bridge> bridges() {
    std::vector<Bridge> all;
    for (const auto& found : devices()) {
        if (auto bridge = kernel::bridge(found.name)) all.push_back(std::move(*bridge));
    }
    return all;
}

}  // namespace virtual_onu::host
