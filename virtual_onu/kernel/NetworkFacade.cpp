// The facade's look at network devices, bridges and their value types, and their state as JSON.
#include <nlohmann/json.hpp>

#include "Core.h"
#include "Facilities.h"
#include "VirtualOnu.h"
#include "kernel/HostKernel.h"
#include "kernel/Network.h"
#include "kernel/PacketSockets.h"

namespace virtual_onu::network {

PortState stateOf(const BridgePort& port) {
    if (hostKernel()) return PortState::Forwarding;
    if (!port.running) return PortState::Disabled;
    const std::uint64_t nowMs = virtualNowMs();
    if (nowMs < port.learningFromMs) return PortState::Listening;
    return nowMs < port.forwardingFromMs ? PortState::Learning : PortState::Forwarding;
}

namespace {

const char* stateName(PortState state) {
    switch (state) {
        case PortState::Disabled:
            return "disabled";
        case PortState::Listening:
            return "listening";
        case PortState::Learning:
            return "learning";
        case PortState::Forwarding:
            break;
    }
    return "forwarding";
}

}  // namespace

// From copies: threads that call the device wait for those, not for the text that is made of them.
nlohmann::json toJson() {
    nlohmann::json json = {{"devices", nlohmann::json::array()}, {"bridges", nlohmann::json::array()}};
    for (const auto& device : devices()) {
        json["devices"].push_back({{"name", device.name},
                                   {"index", device.index},
                                   {"up", device.up},
                                   {"flags", device.flags},
                                   {"mtu", device.mtu},
                                   {"mac", device.mac},
                                   {"addresses", device.addresses},
                                   {"master", device.master},
                                   {"realDevice", device.realDevice},
                                   {"isBridge", device.isBridge},
                                   {"routed", device.routed},
                                   {"multicast", device.multicast},
                                   {"ipv6Disabled", device.ipv6Disabled},
                                   {"operState", device.operState},
                                   {"statistics", device.statistics}});
    }
    const auto learned = VirtualOnu::instance().learnedAddresses();
    for (const auto& bridge : bridges()) {
        nlohmann::json ports = nlohmann::json::array(), addresses = nlohmann::json::array();
        for (const auto& port : bridge.ports) {
            ports.push_back({{"name", port.name},
                             {"priority", port.priority},
                             {"pathCost", port.pathCost},
                             {"state", stateName(stateOf(port))}});
        }
        for (const auto& one : learned) {
            if (one.bridge == bridge.name)
                addresses.push_back({{"mac", one.mac}, {"port", one.port}, {"ageMs", one.ageMs}});
        }
        json["bridges"].push_back({{"name", bridge.name},
                                   {"ports", ports},
                                   {"stp", bridge.stp},
                                   {"forwardDelay", bridge.forwardDelay},
                                   {"helloTime", bridge.helloTime},
                                   {"maxAge", bridge.maxAge},
                                   {"ageingTime", bridge.ageingTime},
                                   {"priority", bridge.priority},
                                   {"multicastSnooping", bridge.multicastSnooping},
                                   {"learned", addresses}});
    }
    json["ipRules"] = VirtualOnu::instance().ipRules();
    json["ipRoutes"] = VirtualOnu::instance().ipRoutes();
    json["packetFrames"] = packets::toJson();
    json["hostKernel"] = hostKernel();
    return json;
}

}  // namespace virtual_onu::network

namespace virtual_onu {

bool NetworkDevice::operator==(const NetworkDevice& other) const {
    return name == other.name && index == other.index && up == other.up && flags == other.flags && mtu == other.mtu &&
           mac == other.mac && addresses == other.addresses && master == other.master &&
           realDevice == other.realDevice && isBridge == other.isBridge && routed == other.routed &&
           multicast == other.multicast && ipv6Disabled == other.ipv6Disabled && operState == other.operState &&
           statistics == other.statistics;
}

bool BridgePort::operator==(const BridgePort& other) const {
    return name == other.name && priority == other.priority && pathCost == other.pathCost;
}

bool Bridge::operator==(const Bridge& other) const {
    return name == other.name && ports == other.ports && stp == other.stp && forwardDelay == other.forwardDelay &&
           helloTime == other.helloTime && maxAge == other.maxAge && ageingTime == other.ageingTime &&
           priority == other.priority;
}

std::vector<std::string> Bridge::members() const {
    std::vector<std::string> names;
    for (const auto& port : ports) names.push_back(port.name);
    return names;
}

std::vector<NetworkDevice> VirtualOnu::devices() const {
    return network::devices();
}
std::optional<NetworkDevice> VirtualOnu::device(const std::string& name) const {
    return network::device(name);
}
bool VirtualOnu::deviceExists(const std::string& name) const {
    return network::exists(name);
}
std::vector<Bridge> VirtualOnu::bridges() const {
    return network::bridges();
}
std::optional<Bridge> VirtualOnu::bridge(const std::string& name) const {
    return network::bridge(name);
}

bool VirtualOnu::useHostKernel(bool on, std::string* why) {
    const DeviceLock lock(deviceMutex());
    if (on == host::active()) return true;
    if (on && kept::isOpen()) {
        if (why != nullptr) *why = "a board that is kept in a file has its devices in memory";
        return false;
    }
    if (on) return host::enter(why);
    host::leave();
    return true;
}

}  // namespace virtual_onu
