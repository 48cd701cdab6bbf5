// The facade's look at network devices, bridges and their value types, and their state as JSON.
#include "Core.h"
#include "Facilities.h"
#include "StateJson.h"
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

nlohmann::json toJson() {
    nlohmann::json json = {{"devices", nlohmann::json::array()}, {"bridges", nlohmann::json::array()}};
    for (const auto& device : devices()) json["devices"].push_back(stateJson(device));
    const auto learned = VirtualOnu::instance().learnedAddresses();
    for (const auto& bridge : bridges()) {
        nlohmann::json one = stateJson(bridge);
        for (std::size_t i = 0; i < bridge.ports.size(); ++i)
            one["ports"][i]["state"] = stateName(stateOf(bridge.ports[i]));
        one["learned"] = nlohmann::json::array();
        for (const auto& address : learned)
            if (address.bridge == bridge.name) one["learned"].push_back(stateJson(address));
        json["bridges"].push_back(std::move(one));
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
    return sameFields(*this, other);
}
bool BridgePort::operator==(const BridgePort& other) const {
    return sameFields(*this, other);
}
bool Bridge::operator==(const Bridge& other) const {
    return sameFields(*this, other);
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
    const DeviceAccess lock(deviceMutex());
    if (on == host::active()) return true;
    if (on && persistence::isOpen()) {
        if (why != nullptr) *why = "a board that is kept in a file has its devices in memory";
        return false;
    }
    if (on) return host::enter(why);
    host::leave();
    return true;
}

}  // namespace virtual_onu
