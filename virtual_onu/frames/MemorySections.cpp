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

struct AddressRecord {
    BridgeMemory::Learned learned;
};

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
void describe(Record& record, AddressRecord& address) {
    record.number("port", address.learned.port, 1);
    record.number("seenMs", address.learned.seenMs);
}

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

// "13 02:00:5e:00:00:01": bridge and address. Throws BadBoard.
std::pair<int, Mac> placeOf(const std::string& key) {
    const std::size_t space = key.find(' ');
    const std::string mac = space == std::string::npos ? "" : key.substr(space + 1);
    if (!network::isMac(mac)) throw persistence::BadBoard("the key must be a bridge's index and a MAC address");
    return {persistence::keyFrom<int>(key.substr(0, space)), macOf(mac)};
}

persistence::Section addressSection() {
    persistence::RecordAccess<std::string, AddressRecord> byKey;
    byKey.keys = [] {
        std::vector<std::string> keys;
        for (const auto& one : deviceMemory().addresses())
            keys.push_back(std::to_string(one.bridge) + " " + textOf(one.mac));
        return keys;
    };
    byKey.get = [](const std::string& key) -> std::optional<AddressRecord> {
        const auto [bridge, mac] = placeOf(key);
        const auto found = deviceMemory().find(bridge, mac);
        if (!found) return std::nullopt;
        return AddressRecord{*found};
    };
    byKey.put = [](const std::string& key, AddressRecord address) {
        const auto [bridge, mac] = placeOf(key);
        deviceMemory().put({bridge, mac, address.learned});
    };
    byKey.remove = [](const std::string& key) {
        const auto [bridge, mac] = placeOf(key);
        deviceMemory().remove(bridge, mac);
    };
    persistence::Section made = persistence::section<std::string, AddressRecord>(persistence::kLearned, byKey);
    made.read = [read = made.read](const std::string& key, const persistence::Json& value) {
        placeOf(key);
        return read(key, value);
    };
    return made;
}

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

persistence::Section snoopingSection() {
    persistence::RecordAccess<int, SnoopingRecord> byKey;
    byKey.keys = [] { return deviceMemory().bridges(); };
    byKey.get = [](int bridge) -> std::optional<SnoopingRecord> {
        const Snooping* found = deviceMemory().snooping(bridge);
        if (found == nullptr) return std::nullopt;
        return recordOf(found->memory());
    };
    byKey.put = [](int bridge, const SnoopingRecord& saved) { deviceMemory().put(bridge, snoopingOf(saved)); };
    byKey.remove = [](int bridge) { deviceMemory().put(bridge, Snooping{}); };
    return persistence::section<int, SnoopingRecord>(persistence::kSnooping, byKey);
}

}  // namespace

persistence::Sections sections() {
    return {addressSection(), snoopingSection()};
}

}  // namespace virtual_onu::datapath
