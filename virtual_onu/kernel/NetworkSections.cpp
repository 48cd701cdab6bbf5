// Network devices, bridges and policy routing as sections of a board file.
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

namespace network {

namespace {

struct CountersRecord {
    std::map<std::string, std::uint64_t> statistics;  // without zeros
    std::vector<std::uint64_t> split;
};

struct Routing {
    int nextIndex = kFirstIndex;
    std::vector<std::string> ipRules;
    std::vector<IpRoute> ipRoutes;
};

}  // namespace

template <typename Record>
void describe(Record& record, Device& device) {
    describe(record, device.shown);
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
void describe(Record& record, CountersRecord& counters) {
    record.numbersByName("statistics", counters.statistics);
    record.numbers("split", counters.split, std::tuple_size<DeviceCounters::Split>::value);
}

template <typename Record>
void describe(Record& record, Routing& routing) {
    record.number("nextIndex", routing.nextIndex, kFirstIndex);
    record.texts("ipRules", routing.ipRules);
    record.list("ipRoutes", routing.ipRoutes);
}

struct Devices : persistence::Keyed<int, Device> {
    static std::vector<std::string> keys() { return persistence::keysOf(state().devices.all()); }
    static std::optional<Device> get(int index) {
        const Device* found = state().devices.find(index);
        return found == nullptr ? std::nullopt : std::optional<Device>(*found);
    }
    static void put(int index, Device device) {
        device.shown.index = index;
        if (const Device* found = state().devices.find(index)) device.counters = found->counters;
        Devices::remove(index);
        state().devices.add(index, std::string(device.shown.name), device);
    }
    static void remove(int index) {
        const Device* found = state().devices.find(index);
        if (found != nullptr) state().devices.remove(index, std::string(found->shown.name));
    }
};

CountersRecord recordOf(const DeviceCounters& counters) {
    CountersRecord all;
    for (const auto& [name, count] : counters.byName())
        if (count != 0) all.statistics[name] = count;
    all.split.assign(counters.split().begin(), counters.split().end());
    return all;
}

struct Counters : persistence::Keyed<int, CountersRecord> {
    static std::vector<std::string> keys() {
        std::vector<std::string> indexes;
        for (auto& [index, device] : state().devices.all())
            if (!recordOf(device.counters).statistics.empty() || device.counters.anySplit())
                indexes.push_back(std::to_string(index));
        return indexes;
    }
    static std::optional<CountersRecord> get(int index) {
        const Device* found = state().devices.find(index);
        return found == nullptr ? std::nullopt : std::optional<CountersRecord>(recordOf(found->counters));
    }
    static void put(int index, const CountersRecord& counters) {
        Device* found = state().devices.find(index);
        if (found == nullptr) return;
        found->counters = DeviceCounters{};
        for (const auto& [name, count] : counters.statistics) found->counters.set(name, count);
        DeviceCounters::Split split{};
        std::copy(counters.split.begin(), counters.split.end(), split.begin());
        found->counters.setSplit(split);
    }
    static void remove(int index) {
        if (Device* found = state().devices.find(index)) found->counters = DeviceCounters{};
    }
};

struct Bridges : persistence::Keyed<int, Bridge> {
    static std::vector<std::string> keys() { return persistence::keysOf(state().bridges.all()); }
    static std::optional<Bridge> get(int index) {
        const Bridge* found = state().bridges.find(index);
        return found == nullptr ? std::nullopt : std::optional<Bridge>(*found);
    }
    static void put(int index, const Bridge& bridge) {
        Bridges::remove(index);
        state().bridges.add(index, std::string(bridge.name), bridge);
    }
    static void remove(int index) {
        const Bridge* found = state().bridges.find(index);
        if (found != nullptr) state().bridges.remove(index, std::string(found->name));
    }
};

std::map<std::string, Refusal>& refusals() {
    return state().refusals;
}

struct RoutingAccess : persistence::Single<Routing> {
    static Routing get() { return {state().nextIndex, state().ipRules, state().ipRoutes}; }
    static void put(Routing routing) {
        state().nextIndex = routing.nextIndex;
        state().ipRules = std::move(routing.ipRules);
        state().ipRoutes = std::move(routing.ipRoutes);
    }
};

}  // namespace

void framesCounted() {
    if (!persistence::isOpen()) return;
    for (auto& [index, device] : state().devices.all())
        if (device.counters.takeHasCounted()) persistence::changed(persistence::kCounters, index);
}

persistence::Sections sections() {
    // In this order: counters have their place in the device.
    return {persistence::section<Devices>(persistence::kDevices),
            persistence::section<Counters>(persistence::kCounters),
            persistence::section<Bridges>(persistence::kBridges),
            persistence::section<persistence::InMap<std::string, Refusal, refusals>>(persistence::kRefusals),
            persistence::section<RoutingAccess>(persistence::kRouting)};
}

}  // namespace network

}  // namespace virtual_onu
