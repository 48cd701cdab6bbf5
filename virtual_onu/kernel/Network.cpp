#include "kernel/Network.h"

#include <net/if.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <map>
#include <unordered_map>
#include <utility>

#include "Core.h"
#include "Facilities.h"
#include "kernel/HostKernel.h"
#include "kernel/NetworkState.h"
#include "kernel/PacketSockets.h"

namespace virtual_onu::network {
namespace {

void addFactoryDevices(State& state);

}  // namespace

State& state() {
    static State& theState = [&]() -> State& {
        auto& made = *new State;  // never destroyed: other libraries' exit code may still call
        addFactoryDevices(made);
        return made;
    }();
    return theState;
}

namespace {

Device* find(const std::string& name) {
    return state().devices.find(name);
}

Bridge* findBridge(const std::string& name) {
    return state().bridges.find(name);
}

void updateOperState(Device& device) {
    device.shown.operState = !device.pinnedOperState.empty() ? device.pinnedOperState : device.shown.up ? "up" : "down";
}

void changedDevice(const Device& device) {
    persistence::changed(persistence::kDevices, device.shown.index);
}
void changedBridge(const std::string& name) {
    if (const Device* device = find(name)) persistence::changed(persistence::kBridges, device->shown.index);
}

Device& append(State& target, const std::string& name) {
    deviceChanged();
    Device device;
    device.shown.name = name;
    device.shown.index = target.nextIndex++;
    changedDevice(device);
    persistence::changed(persistence::kRouting);  // the next index
    const auto index = static_cast<unsigned>(device.shown.index);
    const std::uint8_t mac[6] = {2, 0, 0, 0, static_cast<std::uint8_t>(index >> 8), static_cast<std::uint8_t>(index)};
    device.shown.mac = macText(mac);
    updateOperState(device);
    return target.devices.add(device.shown.index, name, device);
}

void addFactoryDevices(State& state) {
    append(state, "gpondef");
    for (int port = 0; port < 8; ++port) append(state, "sid" + std::to_string(port));
    append(state, "eth0");
    append(state, "eth1");
}

// Starts the ports that have come up and stops those that have gone down, after a change of the bridge or of a member.
void updatePorts(const std::string& bridgeName) {
    Bridge* bridge = findBridge(bridgeName);
    const Device* own = find(bridgeName);
    if (bridge == nullptr || own == nullptr) return;
    changedBridge(bridgeName);
    for (BridgePort& port : bridge->ports) {
        const Device* device = find(port.name);
        const bool running = device != nullptr && isRunning(device->shown) && own->shown.up;
        if (running && !port.running) {
            const std::uint64_t stageMs = bridge->stp ? static_cast<std::uint64_t>(bridge->forwardDelay) * 10 : 0;
            port.learningFromMs = virtualNowMs() + stageMs;
            port.forwardingFromMs = port.learningFromMs + stageMs;
        }
        if (!running && device != nullptr) datapath::portStopped(device->shown.index);
        port.running = running;
    }
}

void updatePortsAt(const NetworkDevice& device) {
    updatePorts(device.isBridge ? device.name : device.master);
}

int checkNewName(const std::string& name) {
    if (!isDeviceName(name)) return EINVAL;
    return find(name) != nullptr ? EEXIST : 0;
}

// Routes go with their device, as the kernel flushes them.
void flushRoutes(const std::string& device) {
    auto& routes = state().ipRoutes;
    if (!routes.empty()) persistence::changed(persistence::kRouting);
    routes.erase(std::remove_if(routes.begin(), routes.end(), [&](const IpRoute& r) { return r.device == device; }),
                 routes.end());
}

void removeFromBridge(Device& device) {
    deviceChanged();
    changedDevice(device);
    changedBridge(device.shown.master);
    datapath::portStopped(device.shown.index);
    if (Bridge* bridge = findBridge(device.shown.master)) {
        auto& ports = bridge->ports;
        ports.erase(std::remove_if(ports.begin(), ports.end(),
                                   [&](const BridgePort& port) { return port.name == device.shown.name; }),
                    ports.end());
    }
    device.shown.master.clear();
}

void erase(const std::string& name) {
    Device* device = find(name);
    datapath::bridgeRemoved(device->shown.index);
    removeFromBridge(*device);
    persistence::changed(persistence::kCounters, device->shown.index);
    changedBridge(name);
    if (const Bridge* bridge = findBridge(name)) {
        for (const auto& port : bridge->ports) {
            Device* member = find(port.name);
            if (member == nullptr) continue;
            member->shown.master.clear();
            changedDevice(*member);
        }
        state().bridges.remove(name);
    }
    flushRoutes(name);
    state().devices.remove(name);
    vlan::deviceRemoved(name);
}

// Asks the model's device, with the lock held by the caller.
int withDevice(const std::string& name, const std::function<int(Device&)>& work) {
    Device* device = find(name);
    if (device == nullptr) return ENODEV;
    deviceChanged();
    changedDevice(*device);
    return work(*device);
}

}  // namespace

void reset() {
    const DeviceAccess lock(deviceMutex());
    host::leave();
    packets::reset();
    state() = State{};
    addFactoryDevices(state());
    deviceChanged();
}

bool hostKernel() {
    return host::active();
}

bool isRunning(const NetworkDevice& device) {
    return device.up && (device.operState == "up" || device.operState == "unknown");
}

bool exists(const std::string& name) {
    const DeviceAccess lock(deviceMutex());
    return host::active() ? host::device(name).has_value() : find(name) != nullptr;
}

int addVlanDevice(const std::string& name, const std::string& realDevice, bool routed, bool multicast) {
    const DeviceAccess lock(deviceMutex());
    if (host::active()) return host::addVlanDevice(name, realDevice, routed, multicast);
    const Device* real = find(realDevice);
    if (real == nullptr) return ENODEV;
    const std::string mac = real->shown.mac;
    if (const int error = checkNewName(name)) return error;
    NetworkDevice& made = append(state(), name).shown;
    made.realDevice = realDevice;
    made.routed = routed;
    made.multicast = multicast;
    made.mac = mac;  // as the driver does; the device has none of its own
    return 0;
}

int addBridge(const std::string& name) {
    const DeviceAccess lock(deviceMutex());
    if (host::active()) return host::addBridge(name);
    if (const int error = checkNewName(name)) return error;
    NetworkDevice& made = append(state(), name).shown;
    made.isBridge = true;
    Bridge bridge;
    bridge.name = name;
    state().bridges.add(made.index, name, bridge);
    persistence::changed(persistence::kBridges, made.index);
    return 0;
}

int removeDevice(const std::string& name) {
    const DeviceAccess lock(deviceMutex());
    const auto refusal = state().refusals.find(name);
    if (refusal != state().refusals.end() && refusal->second.times > 0) {
        --refusal->second.times;
        persistence::changed(persistence::kRefusals, name);
        return refusal->second.code;
    }
    if (host::active()) return host::removeDevice(name);
    if (find(name) == nullptr) return ENODEV;
    erase(name);
    return 0;
}

int removeBridge(const std::string& name) {
    const DeviceAccess lock(deviceMutex());
    if (host::active()) return host::removeBridge(name);
    const Device* device = find(name);
    if (device == nullptr) return ENXIO;
    if (!device->shown.isBridge) return EPERM;
    if (device->shown.up) return EBUSY;
    erase(name);
    return 0;
}

int addPort(const std::string& bridgeName, const std::string& deviceName) {
    const DeviceAccess lock(deviceMutex());
    if (host::active()) return host::addPort(bridgeName, deviceName);
    if (find(bridgeName) == nullptr) return ENODEV;
    Bridge* bridge = findBridge(bridgeName);
    if (bridge == nullptr) return EOPNOTSUPP;
    Device* device = find(deviceName);
    if (device == nullptr) return EINVAL;
    if (device->shown.isBridge) return ELOOP;
    if (!device->shown.master.empty()) return EBUSY;
    deviceChanged();
    device->shown.master = bridgeName;
    changedDevice(*device);
    BridgePort port;
    port.name = deviceName;
    bridge->ports.push_back(port);
    updatePorts(bridgeName);
    return 0;
}

int removePort(const std::string& bridgeName, const std::string& deviceName) {
    const DeviceAccess lock(deviceMutex());
    if (host::active()) return host::removePort(bridgeName, deviceName);
    if (find(bridgeName) == nullptr) return ENODEV;
    if (findBridge(bridgeName) == nullptr) return EOPNOTSUPP;
    Device* device = find(deviceName);
    if (device == nullptr || device->shown.master != bridgeName) return EINVAL;
    removeFromBridge(*device);
    return 0;
}

std::vector<NetworkDevice> devices() {
    std::vector<Device> copies;
    {
        const DeviceAccess lock(deviceMutex());
        if (host::active()) return host::devices();
        for (const auto& entry : state().devices.all()) copies.push_back(entry.second);
    }
    std::vector<NetworkDevice> all;
    for (const Device& one : copies) all.push_back(one.withStatistics());  // counters by name take their time
    return all;
}

std::optional<NetworkDevice> device(const std::string& name) {
    const DeviceAccess lock(deviceMutex());
    if (host::active()) return host::device(name);
    const Device* found = find(name);
    return found == nullptr ? std::nullopt : std::optional<NetworkDevice>(found->withStatistics());
}

std::optional<NetworkDevice> deviceOfIndex(int index) {
    const DeviceAccess lock(deviceMutex());
    if (host::active()) {
        for (auto& device : host::devices()) {
            if (device.index == index) return device;
        }
        return std::nullopt;
    }
    const Device* found = state().devices.find(index);
    return found == nullptr ? std::nullopt : std::optional<NetworkDevice>(found->withStatistics());
}

std::vector<Bridge> bridges() {
    const DeviceAccess lock(deviceMutex());
    if (host::active()) return host::bridges();
    std::vector<Bridge> all;
    for (const auto& entry : state().bridges.all()) all.push_back(entry.second);
    return all;
}

std::optional<Bridge> bridge(const std::string& name) {
    const DeviceAccess lock(deviceMutex());
    if (host::active()) {
        for (auto& bridge : host::bridges()) {
            if (bridge.name == name) return bridge;
        }
        return std::nullopt;
    }
    const Bridge* found = findBridge(name);
    return found == nullptr ? std::nullopt : std::optional<Bridge>(*found);
}

// ---- changes ----

int setFlags(const std::string& name, unsigned flags) {
    const DeviceAccess lock(deviceMutex());
    if (host::active()) return host::setFlags(name, flags);
    return withDevice(name, [&](Device& device) {
        device.shown.flags = flags;
        device.shown.up = (flags & IFF_UP) != 0;
        device.shown.takenDown = !device.shown.up;
        updateOperState(device);
        if (!device.shown.up) flushRoutes(name);
        updatePortsAt(device.shown);
        return 0;
    });
}

int setMtu(const std::string& name, int mtu) {
    const DeviceAccess lock(deviceMutex());
    if (host::active()) return host::setMtu(name, mtu);
    return withDevice(name, [&](Device& device) {
        if (mtu < kMinMtu || mtu > kMaxMtu) return EINVAL;
        device.shown.mtu = mtu;
        return 0;
    });
}

int setMac(const std::string& name, const std::string& mac) {
    const DeviceAccess lock(deviceMutex());
    std::uint8_t bytes[6];
    if (!parseMac(mac, bytes)) return EINVAL;
    if (host::active()) return host::setMac(name, bytes);
    return withDevice(name, [&](Device& device) {
        const bool group = (bytes[0] & 1) != 0;
        const bool zero = std::all_of(std::begin(bytes), std::end(bytes), [](std::uint8_t byte) { return byte == 0; });
        if (group || zero) return EADDRNOTAVAIL;
        device.shown.mac = macText(bytes);
        return 0;
    });
}

int setAddress(const std::string& name, const std::string& addressText) {
    const DeviceAccess lock(deviceMutex());
    return withDevice(name, [&](Device& device) {
        device.shown.addresses = {addressText};
        return 0;
    });
}

int setIpv6Disabled(const std::string& name, bool disabled) {
    const DeviceAccess lock(deviceMutex());
    return withDevice(name, [&](Device& device) {
        device.shown.ipv6Disabled = disabled;
        return 0;
    });
}

unsigned kernelFlags(const NetworkDevice& device) {
    constexpr unsigned kKeptAsSet =
        IFF_DEBUG | IFF_NOTRAILERS | IFF_NOARP | IFF_PROMISC | IFF_ALLMULTI | IFF_DYNAMIC | IFF_PORTSEL | IFF_AUTOMEDIA;
    unsigned flags = IFF_BROADCAST | IFF_MULTICAST | (device.flags & kKeptAsSet);
    if (device.up) flags |= IFF_UP;
    if (device.up && device.operState == "up") flags |= IFF_RUNNING;
    return flags;
}

int changeBridge(const std::string& name, const std::function<int(Bridge&)>& change) {
    const DeviceAccess lock(deviceMutex());
    if (host::active()) return host::changeBridge(name, change);
    Bridge* bridge = findBridge(name);
    if (bridge == nullptr) return ENODEV;
    deviceChanged();
    changedBridge(name);
    return change(*bridge);
}

int changePort(const std::string& name, const std::function<int(BridgePort&)>& change) {
    const DeviceAccess lock(deviceMutex());
    if (host::active()) return host::changePort(name, change);
    const Device* device = find(name);
    Bridge* bridge = device == nullptr ? nullptr : findBridge(device->shown.master);
    if (bridge == nullptr) return ENODEV;
    deviceChanged();
    changedBridge(bridge->name);
    for (auto& port : bridge->ports) {
        if (port.name == name) return change(port);
    }
    return ENODEV;
}

void forEachDevice(const std::function<void(const NetworkDevice&, DeviceCounters*)>& look) {
    const DeviceAccess lock(deviceMutex());
    if (host::active()) {
        for (const auto& device : host::devices()) look(device, nullptr);
        return;
    }
    for (auto& entry : state().devices.all()) look(entry.second.shown, &entry.second.counters);
}

std::optional<std::string> splitStatistics() {
    const DeviceAccess lock(deviceMutex());
    const auto& all = state().devices.all();
    const bool any =
        std::any_of(all.begin(), all.end(), [](const auto& entry) { return entry.second.counters.anySplit(); });
    if (!any) return std::nullopt;
    std::string text;
    for (const auto& entry : all) text += entry.second.shown.name + ": " + entry.second.counters.splitColumns() + "\n";
    return text;
}

// ---- policy routing ----

int addIpRule(const std::string& rule) {
    const DeviceAccess lock(deviceMutex());
    auto& rules = state().ipRules;
    if (std::find(rules.begin(), rules.end(), rule) != rules.end()) return EEXIST;
    if (host::active() && host::runIp("rule add " + rule) != 0) return EINVAL;
    rules.push_back(rule);
    persistence::changed(persistence::kRouting);
    return 0;
}

int removeIpRule(const std::string& rule) {
    const DeviceAccess lock(deviceMutex());
    auto& rules = state().ipRules;
    const auto found = std::find(rules.begin(), rules.end(), rule);
    if (found == rules.end()) return ENOENT;
    if (host::active()) host::runIp("rule del " + rule);
    rules.erase(found);
    persistence::changed(persistence::kRouting);
    return 0;
}

int addIpRoute(const std::string& destination, const std::string& device, int table, const std::string& route,
               bool replace) {
    const DeviceAccess lock(deviceMutex());
    const auto through = network::device(device);
    if (!through) return ENODEV;
    if (!through->up) return ENETDOWN;
    if (host::active() && host::runIp((replace ? "route replace " : "route add ") + route) != 0) return EINVAL;
    persistence::changed(persistence::kRouting);
    for (auto& known : state().ipRoutes) {
        if (known.destination != destination || known.table != table) continue;
        if (!replace) return EEXIST;
        known = {destination, device, route, table};
        return 0;
    }
    state().ipRoutes.push_back({destination, device, route, table});
    return 0;
}

int removeIpRoute(const std::string& destination, int table) {
    const DeviceAccess lock(deviceMutex());
    auto& routes = state().ipRoutes;
    for (auto route = routes.begin(); route != routes.end(); ++route) {
        if (route->destination != destination || route->table != table) continue;
        if (host::active()) host::runIp("route del " + route->text);
        routes.erase(route);
        persistence::changed(persistence::kRouting);
        return 0;
    }
    return ESRCH;
}

}  // namespace virtual_onu::network

namespace virtual_onu {

bool VirtualOnu::addDevice(const std::string& name, const std::string& realDevice) {
    const DeviceAccess lock(deviceMutex());
    if (network::hostKernel()) return host::addDevice(name, realDevice) == 0;
    if (network::checkNewName(name) != 0) return false;
    network::append(network::state(), name).shown.realDevice = realDevice;
    return true;
}

bool VirtualOnu::removeDevice(const std::string& name) {
    const DeviceAccess lock(deviceMutex());
    if (network::hostKernel()) return host::removeDevice(name) == 0;
    if (network::find(name) == nullptr) return false;
    network::erase(name);
    return true;
}

void VirtualOnu::setOperState(const std::string& name, const std::string& operState) {
    const DeviceAccess lock(deviceMutex());
    if (network::Device* device = network::find(name)) {
        device->pinnedOperState = operState;
        network::changedDevice(*device);
        network::updateOperState(*device);
        network::updatePortsAt(device->shown);
        deviceChanged();
    }
}

std::string VirtualOnu::givenOperState(const std::string& name) const {
    const DeviceAccess lock(deviceMutex());
    const network::Device* device = network::find(name);
    return device == nullptr ? "" : device->pinnedOperState;
}

bool VirtualOnu::setMulticastSnooping(const std::string& bridge, bool on) {
    return network::changeBridge(bridge, [on](Bridge& changed) {
               changed.multicastSnooping = on;
               return 0;
           }) == 0;
}

void VirtualOnu::setStatistic(const std::string& device, const std::string& key, std::uint64_t value) {
    const DeviceAccess lock(deviceMutex());
    network::Device* found = network::find(device);
    if (found == nullptr) return;
    found->counters.set(key, value);
    persistence::changed(persistence::kCounters, found->shown.index);
}

void VirtualOnu::refuseDeletion(const std::string& device, int times, int code) {
    const DeviceAccess lock(deviceMutex());
    network::state().refusals[device] = {times, code};
    persistence::changed(persistence::kRefusals, device);
}

std::vector<std::string> VirtualOnu::ipRules() const {
    const DeviceAccess lock(deviceMutex());
    return network::state().ipRules;
}

std::vector<std::string> VirtualOnu::ipRoutes() const {
    const DeviceAccess lock(deviceMutex());
    std::vector<std::string> texts;
    for (const auto& route : network::state().ipRoutes) texts.push_back(route.text);
    return texts;
}

}  // namespace virtual_onu
