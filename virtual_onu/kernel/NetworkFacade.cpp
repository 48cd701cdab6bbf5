// The facade's look at network devices, bridges and their value types.
#include "Core.h"
#include "VirtualOnu.h"
#include "kernel/HostKernel.h"
#include "kernel/Network.h"

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
    if (on) return host::enter(why);
    host::leave();
    return true;
}

}  // namespace virtual_onu
