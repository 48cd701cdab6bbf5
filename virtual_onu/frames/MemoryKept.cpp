// What bridges remember from frames as sections of a board that is kept.
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

struct KeptAddress {
    BridgeMemory::Learned learned;
};

// A MAC address as text on the way.
struct KeptGroup {
    std::string group;
    Snooping::Ports members;
};
struct KeptSnooping {
    std::vector<Snooping::Query> queriers;
    std::vector<KeptGroup> groups;
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
void describe(Record& record, KeptAddress& address) {
    record.number("port", address.learned.port, 1);
    record.number("seenMs", address.learned.seenMs);
}

template <typename Record>
void describe(Record& record, KeptGroup& group) {
    record.text("group", group.group, network::isMac, "a MAC address");
    record.numbersByName("members", group.members);
}

template <typename Record>
void describe(Record& record, KeptSnooping& snooping) {
    record.list("queriers", snooping.queriers, 2);
    record.list("groups", snooping.groups);
    record.numbersByName("routers", snooping.routers);
}

// "13 02:00:5e:00:00:01": bridge and address. Throws BadBoard.
std::pair<int, Mac> placeOf(const std::string& key) {
    const std::size_t space = key.find(' ');
    const std::string mac = space == std::string::npos ? "" : key.substr(space + 1);
    if (!network::isMac(mac)) throw kept::BadBoard("the key must be a bridge's index and a MAC address");
    return {kept::keyFrom<int>(key.substr(0, space)), macOf(mac)};
}

kept::Section addressSection() {
    kept::Shelf<std::string, KeptAddress> shelf;
    shelf.keys = [] {
        std::vector<std::string> keys;
        for (const auto& one : deviceMemory().addresses())
            keys.push_back(std::to_string(one.bridge) + " " + textOf(one.mac));
        return keys;
    };
    shelf.get = [](const std::string& key) -> std::optional<KeptAddress> {
        const auto [bridge, mac] = placeOf(key);
        const auto found = deviceMemory().find(bridge, mac);
        if (!found) return std::nullopt;
        return KeptAddress{*found};
    };
    shelf.put = [](const std::string& key, KeptAddress address) {
        const auto [bridge, mac] = placeOf(key);
        deviceMemory().put({bridge, mac, address.learned});
    };
    shelf.remove = [](const std::string& key) {
        const auto [bridge, mac] = placeOf(key);
        deviceMemory().remove(bridge, mac);
    };
    kept::Section made = kept::section<std::string, KeptAddress>(kept::kLearned, shelf);
    made.read = [read = made.read](const std::string& key, const kept::Json& value) {
        placeOf(key);
        return read(key, value);
    };
    return made;
}

KeptSnooping keptOf(const Snooping::Memory& memory) {
    KeptSnooping all{memory.queriers, {}, memory.routers};
    for (const auto& group : memory.groups) all.groups.push_back({textOf(group.group), group.members});
    return all;
}

Snooping snoopingOf(const KeptSnooping& kept) {
    Snooping::Memory memory{kept.queriers, {}, kept.routers};
    for (const auto& group : kept.groups) memory.groups.push_back({macOf(group.group), group.members});
    Snooping snooping;
    snooping.remember(memory);
    return snooping;
}

kept::Section snoopingSection() {
    kept::Shelf<int, KeptSnooping> shelf;
    shelf.keys = [] { return deviceMemory().bridges(); };
    shelf.get = [](int bridge) -> std::optional<KeptSnooping> {
        const Snooping* found = deviceMemory().snooping(bridge);
        if (found == nullptr) return std::nullopt;
        return keptOf(found->memory());
    };
    shelf.put = [](int bridge, const KeptSnooping& kept) { deviceMemory().put(bridge, snoopingOf(kept)); };
    shelf.remove = [](int bridge) { deviceMemory().put(bridge, Snooping{}); };
    return kept::section<int, KeptSnooping>(kept::kSnooping, shelf);
}

}  // namespace

kept::Sections sections() {
    return {addressSection(), snoopingSection()};
}

}  // namespace virtual_onu::datapath
