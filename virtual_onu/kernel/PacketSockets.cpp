#include "kernel/PacketSockets.h"

#include <net/ethernet.h>
#include <netpacket/packet.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <optional>
#include <vector>

#include <nlohmann/json.hpp>

#include "Core.h"
#include "HexDigits.h"
#include "kernel/Network.h"
#include "real_libc/Descriptors.h"
#include "real_libc/RealLibc.h"

namespace virtual_onu::packets {
namespace {

constexpr std::size_t kFramesKept = 10000;
constexpr int kTypeMask = 0xf;  // without SOCK_NONBLOCK and SOCK_CLOEXEC

struct SentFrame {
    std::string device;
    std::vector<std::uint8_t> bytes;
};

struct State {
    std::map<int, int> boundIndex;  // by descriptor
    std::vector<SentFrame> frames;
};

State& state() {
    static State& theState = *new State;
    return theState;
}

// The interface index in a link-level address; negative errno for any other address.
int indexIn(const sockaddr* address, socklen_t length) {
    if (address == nullptr || length < sizeof(sockaddr_ll)) return -EINVAL;
    sockaddr_ll link{};
    std::memcpy(&link, address, sizeof link);
    return link.sll_family == AF_PACKET ? link.sll_ifindex : -EINVAL;
}

int boundIndexOf(int fd) {
    const DeviceAccess lock(deviceMutex());
    const auto bound = state().boundIndex.find(fd);
    return bound == state().boundIndex.end() ? 0 : bound->second;
}

// 0, or why the frame cannot leave through the device.
int checkFrame(const std::optional<NetworkDevice>& device, std::size_t size) {
    if (!device) return ENXIO;
    if (!device->up) return ENETDOWN;
    if (size < ETHER_HDR_LEN) return EINVAL;
    return size > static_cast<std::size_t>(device->mtu) + ETHER_HDR_LEN ? EMSGSIZE : 0;
}

}  // namespace

int open(int type, int protocol) {
    const int extra = type & ~kTypeMask;
    const bool raw = (type & kTypeMask) == SOCK_RAW;
    const auto fault = faultOf("socket", "", false);
    int fd = fault ? -*fault : real::socket(AF_UNIX, SOCK_DGRAM | extra, 0);
    if (!fault && fd < 0) fd = -errno;
    if (fd >= 0) fd = descriptors::adopt(fd, descriptors::Kind::PacketSocket, "");
    record(CallKind::Socket, "socket",
           std::string("AF_PACKET, ") + (raw ? "SOCK_RAW" : "SOCK_DGRAM") + ", " + argumentText(protocol),
           std::min(fd, 0));
    return fd;
}

int bind(int fd, const sockaddr* address, socklen_t length) {
    const int index = indexIn(address, length);
    const auto device = network::deviceOfIndex(index);
    int error = 0;
    if (const auto fault = faultOf("bind", "", false)) {
        error = *fault;
    } else if (index < 0) {
        error = -index;
    } else if (index > 0 && !device) {
        error = ENODEV;
    } else {
        const DeviceAccess lock(deviceMutex());
        state().boundIndex[fd] = index;
    }
    record(CallKind::Socket, "bind", device ? argumentText(device->name) : argumentText(index), -error);
    return -error;
}

ssize_t send(int fd, const void* frame, std::size_t size, const sockaddr* address, socklen_t length) {
    const int index = address != nullptr ? indexIn(address, length) : boundIndexOf(fd);
    const auto device = network::deviceOfIndex(index);
    int error = 0;
    if (const auto fault = faultOf("sendto", "", false)) {
        error = *fault;
    } else {
        error = index < 0 ? -index : checkFrame(device, size);
    }
    if (error == 0) {
        const auto* bytes = static_cast<const std::uint8_t*>(frame);
        const DeviceAccess lock(deviceMutex());
        if (state().frames.size() < kFramesKept) state().frames.push_back({device->name, {bytes, bytes + size}});
    }
    const std::string shown = (device ? argumentText(device->name) : argumentText(index)) + ", ";
    record(CallKind::Socket, "sendto", shown + argumentText(static_cast<std::int64_t>(size)),
           error == 0 ? static_cast<long>(size) : -error);
    return error == 0 ? static_cast<ssize_t>(size) : -error;
}

void closed(int fd) {
    const DeviceAccess lock(deviceMutex());
    state().boundIndex.erase(fd);
}

void copied(int fd, int copy) {
    const DeviceAccess lock(deviceMutex());
    const auto bound = state().boundIndex.find(fd);
    if (bound != state().boundIndex.end()) state().boundIndex[copy] = bound->second;
}

void reset() {
    const DeviceAccess lock(deviceMutex());
    state().frames.clear();
}

nlohmann::json toJson() {
    const auto sent = [] {
        const DeviceAccess lock(deviceMutex());
        return state().frames;
    }();
    auto frames = nlohmann::json::array();
    for (const auto& frame : sent) frames.push_back({{"device", frame.device}, {"bytes", hexText(frame.bytes)}});
    return frames;
}

}  // namespace virtual_onu::packets

namespace virtual_onu {

std::vector<std::vector<std::uint8_t>> VirtualOnu::packetFrames() const {
    const DeviceAccess lock(deviceMutex());
    std::vector<std::vector<std::uint8_t>> frames;
    for (const auto& frame : packets::state().frames) frames.push_back(frame.bytes);
    return frames;
}

}  // namespace virtual_onu
