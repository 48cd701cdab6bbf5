// What bridges remember from frames as sections of a board file.
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Core.h"
#include "Facilities.h"
#include "Section.h"
#include "frames/BridgeMemory.h"
#include "frames/Packet.h"
#include "kernel/Network.h"

namespace virtual_onu::datapath {

namespace {

// A MAC address as text on the way.
struct GroupRecord {
    std::string group;
    Snooping::Ports members;
};
struct SnoopingRecord {
    std::vector<Snooping::Query> queriers;
    std::vector<GroupRecord> groups;
    Snooping::Ports routers;
};

}  // namespace

template <typename Record>
void describe(Record& record, Snooping::Query& query) {
    record.number("fromMs", query.fromMs);
    record.number("untilMs", query.untilMs);
}

namespace {

template <typename Record>
void describe(Record& record, GroupRecord& group) {
    record.text("group", group.group, network::isMac, "a MAC address");
    record.numbersByName("members", group.members);
}

template <typename Record>
void describe(Record& record, SnoopingRecord& snooping) {
    record.list("queriers", snooping.queriers, 2);
    record.list("groups", snooping.groups);
    record.numbersByName("routers", snooping.routers);
}

// By bridge and address: "13 02:00:5e:00:00:01".
struct Addresses : persistence::Keyed<std::pair<int, Mac>, BridgeMemory::Learned> {
    using Key = std::pair<int, Mac>;
    template <typename Record>
    static void fields(Record& record, Thing& learned) {
        record.number("port", learned.port, 1);
        record.number("seenMs", learned.seenMs);
    }
    static Key keyFrom(const std::string& text) {
        const std::size_t space = text.find(' ');
        const std::string mac = space == std::string::npos ? "" : text.substr(space + 1);
        if (!network::isMac(mac)) throw persistence::BadBoard("the key must be a bridge's index and a MAC address");
        return {Keyed<int, Thing>::keyFrom(text.substr(0, space)), macOf(mac)};
    }
    static std::vector<std::string> keys() {
        std::vector<std::string> keys;
        for (const auto& one : deviceMemory().addresses())
            keys.push_back(std::to_string(one.bridge) + " " + textOf(one.mac));
        return keys;
    }
    static std::optional<Thing> get(const Key& key) { return deviceMemory().find(key.first, key.second); }
    static void put(const Key& key, Thing learned) { deviceMemory().put({key.first, key.second, learned}); }
    static void remove(const Key& key) { deviceMemory().remove(key.first, key.second); }
};

SnoopingRecord recordOf(const Snooping::Memory& memory) {
    SnoopingRecord all{memory.queriers, {}, memory.routers};
    for (const auto& group : memory.groups) all.groups.push_back({textOf(group.group), group.members});
    return all;
}

Snooping snoopingOf(const SnoopingRecord& saved) {
    Snooping::Memory memory{saved.queriers, {}, saved.routers};
    for (const auto& group : saved.groups) memory.groups.push_back({macOf(group.group), group.members});
    Snooping snooping;
    snooping.remember(memory);
    return snooping;
}

struct SnoopingAccess : persistence::Keyed<int, SnoopingRecord> {
    static std::vector<std::string> keys() {
        std::vector<std::string> keys;
        for (const int bridge : deviceMemory().bridges()) keys.push_back(std::to_string(bridge));
        return keys;
    }
    static std::optional<SnoopingRecord> get(int bridge) {
        const Snooping* found = deviceMemory().snooping(bridge);
        return found == nullptr ? std::nullopt : std::optional<SnoopingRecord>(recordOf(found->memory()));
    }
    static void put(int bridge, const SnoopingRecord& saved) { deviceMemory().put(bridge, snoopingOf(saved)); }
    static void remove(int bridge) { deviceMemory().put(bridge, Snooping{}); }
};

}  // namespace

persistence::Sections sections() {
    return {persistence::section<Addresses>(persistence::kLearned),
            persistence::section<SnoopingAccess>(persistence::kSnooping)};
}

}  // namespace virtual_onu::datapath
