// Network devices, bridges and policy routing as sections of a board that is kept.
#include <algorithm>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "Core.h"
#include "Facilities.h"
#include "Section.h"
#include "kernel/Network.h"
#include "kernel/NetworkState.h"

namespace virtual_onu {

namespace {

bool isMac(const std::string& text) {
    std::uint8_t mac[6];
    return network::parseMac(text, mac);
}

}  // namespace

template <typename Record>
void describe(Record& record, BridgePort& port) {
    record.text("name", port.name, network::isDeviceName, "a device name");
    record.number("priority", port.priority, 0, 65535);
    record.number("pathCost", port.pathCost, 0, 65535);
    record.flag("running", port.running);
    record.number("learningFromMs", port.learningFromMs);
    record.number("forwardingFromMs", port.forwardingFromMs);
}

template <typename Record>
void describe(Record& record, Bridge& bridge) {
    record.text("name", bridge.name, network::isDeviceName, "a device name");
    record.list("ports", bridge.ports);
    record.flag("stp", bridge.stp);
    record.number("forwardDelay", bridge.forwardDelay);
    record.number("helloTime", bridge.helloTime);
    record.number("maxAge", bridge.maxAge);
    record.number("ageingTime", bridge.ageingTime);
    record.number("priority", bridge.priority, 0, 65535);
    record.flag("multicastSnooping", bridge.multicastSnooping);
}

namespace network {

namespace {

struct KeptCounters {
    std::map<std::string, std::uint64_t> statistics;  // without zeros
    std::vector<std::uint64_t> split;
};

struct Routing {
    int nextIndex = kFirstIndex;
    std::vector<std::string> ipRules;
    std::vector<IpRoute> ipRoutes;
};

}  // namespace

bool isDeviceName(const std::string& name) {
    return !name.empty() && name.size() <= kLongestName && name != "." && name != ".." &&
           name.find_first_of("/: \t\n\v\f\r") == std::string::npos;
}

template <typename Record>
void describe(Record& record, Device& device) {
    NetworkDevice& shown = device.shown;
    record.text("name", shown.name, isDeviceName, "a device name");
    record.flag("up", shown.up);
    record.number("flags", shown.flags, 0U, 0xffffU);
    record.number("mtu", shown.mtu, kLowestMtu, kHighestMtu);
    record.text("mac", shown.mac, isMac, "a MAC address");
    record.texts("addresses", shown.addresses);
    record.text("master", shown.master);
    record.text("realDevice", shown.realDevice);
    record.flag("isBridge", shown.isBridge);
    record.flag("routed", shown.routed);
    record.flag("multicast", shown.multicast);
    record.flag("ipv6Disabled", shown.ipv6Disabled);
    record.flag("takenDown", shown.takenDown);
    record.text("operState", shown.operState);
    record.text("pinnedOperState", device.pinnedOperState);
}

template <typename Record>
void describe(Record& record, Refusal& refusal) {
    record.number("times", refusal.times, 0);
    record.number("code", refusal.code);
}

template <typename Record>
void describe(Record& record, IpRoute& route) {
    record.text("destination", route.destination);
    record.text("device", route.device);
    record.number("table", route.table);
    record.text("route", route.text);
}

namespace {

template <typename Record>
void describe(Record& record, KeptCounters& counters) {
    record.numbersByName("statistics", counters.statistics);
    record.numbers("split", counters.split, std::tuple_size<DeviceCounters::Split>::value);
}

template <typename Record>
void describe(Record& record, Routing& routing) {
    record.number("nextIndex", routing.nextIndex, kFirstIndex);
    record.texts("ipRules", routing.ipRules);
    record.list("ipRoutes", routing.ipRoutes);
}

template <typename Thing>
std::vector<int> indexesOf(const Register<Thing>& things) {
    std::vector<int> indexes;
    for (const auto& entry : things.all()) indexes.push_back(entry.first);
    return indexes;
}

kept::Section deviceSection() {
    kept::Shelf<int, Device> shelf;
    shelf.keys = [] { return indexesOf(state().devices); };
    shelf.get = [](int index) {
        const Device* found = state().devices.find(index);
        return found == nullptr ? std::nullopt : std::optional<Device>(*found);
    };
    shelf.put = [](int index, Device device) {
        device.shown.index = index;
        if (Device* found = state().devices.find(index)) {
            device.counters = found->counters;
            state().devices.remove(index, std::string(found->shown.name));
        }
        state().devices.add(index, std::string(device.shown.name), device);
    };
    shelf.remove = [](int index) {
        const Device* found = state().devices.find(index);
        if (found != nullptr) state().devices.remove(index, std::string(found->shown.name));
    };
    return kept::section<int, Device>(kept::kDevices, shelf);
}

KeptCounters keptOf(const DeviceCounters& counters) {
    KeptCounters all;
    for (const auto& [name, count] : counters.byName())
        if (count != 0) all.statistics[name] = count;
    all.split.assign(counters.split().begin(), counters.split().end());
    return all;
}

kept::Section counterSection() {
    kept::Shelf<int, KeptCounters> shelf;
    shelf.keys = [] {
        std::vector<int> indexes;
        for (auto& [index, device] : state().devices.all())
            if (!keptOf(device.counters).statistics.empty() || device.counters.anySplit()) indexes.push_back(index);
        return indexes;
    };
    shelf.get = [](int index) {
        const Device* found = state().devices.find(index);
        return found == nullptr ? std::nullopt : std::optional<KeptCounters>(keptOf(found->counters));
    };
    shelf.put = [](int index, const KeptCounters& counters) {
        Device* found = state().devices.find(index);
        if (found == nullptr) return;
        found->counters = DeviceCounters{};
        for (const auto& [name, count] : counters.statistics) found->counters.set(name, count);
        DeviceCounters::Split split{};
        std::copy(counters.split.begin(), counters.split.end(), split.begin());
        found->counters.setSplit(split);
    };
    shelf.remove = [](int index) {
        if (Device* found = state().devices.find(index)) found->counters = DeviceCounters{};
    };
    return kept::section<int, KeptCounters>(kept::kCounters, shelf);
}

kept::Section bridgeSection() {
    kept::Shelf<int, Bridge> shelf;
    shelf.keys = [] { return indexesOf(state().bridges); };
    shelf.get = [](int index) {
        const Bridge* found = state().bridges.find(index);
        return found == nullptr ? std::nullopt : std::optional<Bridge>(*found);
    };
    shelf.put = [](int index, const Bridge& bridge) {
        const Bridge* found = state().bridges.find(index);
        if (found != nullptr) state().bridges.remove(index, std::string(found->name));
        state().bridges.add(index, std::string(bridge.name), bridge);
    };
    shelf.remove = [](int index) {
        const Bridge* found = state().bridges.find(index);
        if (found != nullptr) state().bridges.remove(index, std::string(found->name));
    };
    return kept::section<int, Bridge>(kept::kBridges, shelf);
}

}  // namespace

void framesCounted() {
    if (!kept::isOpen()) return;
    for (auto& [index, device] : state().devices.all())
        if (device.counters.takeHasCounted()) kept::changed(kept::kCounters, index);
}

kept::Sections sections() {
    // In this order: counters have their place in the device.
    return {deviceSection(), counterSection(), bridgeSection(),
            kept::mapSection<std::string, Refusal>(
                kept::kRefusals, +[]() -> std::map<std::string, Refusal>& { return state().refusals; }),
            kept::single<Routing>(
                kept::kRouting,
                [] {
                    return Routing{state().nextIndex, state().ipRules, state().ipRoutes};
                },
                [](Routing routing) {
                    state().nextIndex = routing.nextIndex;
                    state().ipRules = std::move(routing.ipRules);
                    state().ipRoutes = std::move(routing.ipRoutes);
                })};
}

}  // namespace network

}  // namespace virtual_onu
