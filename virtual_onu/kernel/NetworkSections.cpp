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

template <typename Thing>
std::vector<int> indexesOf(const Register<Thing>& things) {
    std::vector<int> indexes;
    for (const auto& entry : things.all()) indexes.push_back(entry.first);
    return indexes;
}

persistence::Section deviceSection() {
    persistence::RecordAccess<int, Device> byKey;
    byKey.keys = [] { return indexesOf(state().devices); };
    byKey.get = [](int index) {
        const Device* found = state().devices.find(index);
        return found == nullptr ? std::nullopt : std::optional<Device>(*found);
    };
    byKey.put = [](int index, Device device) {
        device.shown.index = index;
        if (Device* found = state().devices.find(index)) {
            device.counters = found->counters;
            state().devices.remove(index, std::string(found->shown.name));
        }
        state().devices.add(index, std::string(device.shown.name), device);
    };
    byKey.remove = [](int index) {
        const Device* found = state().devices.find(index);
        if (found != nullptr) state().devices.remove(index, std::string(found->shown.name));
    };
    return persistence::section<int, Device>(persistence::kDevices, byKey);
}

CountersRecord recordOf(const DeviceCounters& counters) {
    CountersRecord all;
    for (const auto& [name, count] : counters.byName())
        if (count != 0) all.statistics[name] = count;
    all.split.assign(counters.split().begin(), counters.split().end());
    return all;
}

persistence::Section counterSection() {
    persistence::RecordAccess<int, CountersRecord> byKey;
    byKey.keys = [] {
        std::vector<int> indexes;
        for (auto& [index, device] : state().devices.all())
            if (!recordOf(device.counters).statistics.empty() || device.counters.anySplit()) indexes.push_back(index);
        return indexes;
    };
    byKey.get = [](int index) {
        const Device* found = state().devices.find(index);
        return found == nullptr ? std::nullopt : std::optional<CountersRecord>(recordOf(found->counters));
    };
    byKey.put = [](int index, const CountersRecord& counters) {
        Device* found = state().devices.find(index);
        if (found == nullptr) return;
        found->counters = DeviceCounters{};
        for (const auto& [name, count] : counters.statistics) found->counters.set(name, count);
        DeviceCounters::Split split{};
        std::copy(counters.split.begin(), counters.split.end(), split.begin());
        found->counters.setSplit(split);
    };
    byKey.remove = [](int index) {
        if (Device* found = state().devices.find(index)) found->counters = DeviceCounters{};
    };
    return persistence::section<int, CountersRecord>(persistence::kCounters, byKey);
}

persistence::Section bridgeSection() {
    persistence::RecordAccess<int, Bridge> byKey;
    byKey.keys = [] { return indexesOf(state().bridges); };
    byKey.get = [](int index) {
        const Bridge* found = state().bridges.find(index);
        return found == nullptr ? std::nullopt : std::optional<Bridge>(*found);
    };
    byKey.put = [](int index, const Bridge& bridge) {
        const Bridge* found = state().bridges.find(index);
        if (found != nullptr) state().bridges.remove(index, std::string(found->name));
        state().bridges.add(index, std::string(bridge.name), bridge);
    };
    byKey.remove = [](int index) {
        const Bridge* found = state().bridges.find(index);
        if (found != nullptr) state().bridges.remove(index, std::string(found->name));
    };
    return persistence::section<int, Bridge>(persistence::kBridges, byKey);
}

}  // namespace

void framesCounted() {
    if (!persistence::isOpen()) return;
    for (auto& [index, device] : state().devices.all())
        if (device.counters.takeHasCounted()) persistence::changed(persistence::kCounters, index);
}

persistence::Sections sections() {
    // In this order: counters have their place in the device.
    return {deviceSection(), counterSection(), bridgeSection(),
            persistence::mapSection<std::string, Refusal>(
                persistence::kRefusals, +[]() -> std::map<std::string, Refusal>& { return state().refusals; }),
            persistence::single<Routing>(
                persistence::kRouting,
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
