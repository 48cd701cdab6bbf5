#include "running/state/Diff.h"

#include <algorithm>
#include <functional>
#include <set>
#include <sstream>
#include <tuple>
#include <type_traits>

#include <nlohmann/json.hpp>

#include "platform/kit_numbers.h"
#include "running/io/Words.h"
#include "running/state/PonWords.h"
#include "running/state/RuleWords.h"
#include "running/state/Services.h"

namespace vorn_onu {

namespace {

using DiffLines = std::vector<std::string>;
using nlohmann::json;

std::string orNone(const std::string& text) {
    return text.empty() ? "none" : text;
}

// A list taken apart: the elements that the other one has too, as often as it has them, and the rest.
template <typename T>
std::pair<std::vector<T>, std::vector<T>> apart(const std::vector<T>& list, std::vector<T> others) {
    std::vector<T> common, rest;
    for (const T& one : list) {
        const auto same = std::find(others.begin(), others.end(), one);
        (same == others.end() ? rest : common).push_back(one);
        if (same != others.end()) others.erase(same);
    }
    return {common, rest};
}
template <typename T>
std::vector<T> without(const std::vector<T>& list, const std::vector<T>& others) {
    return apart(list, others).second;
}

void compareList(const std::string& what, const DiffLines& before, const DiffLines& after, DiffLines& lines) {
    for (const auto& one : without(before, after)) lines.push_back(what + " removed: " + one);
    for (const auto& one : without(after, before)) lines.push_back(what + " added: " + one);
}

void compareValue(const std::string& what, const std::string& before, const std::string& after, DiffLines& lines) {
    if (before != after) lines.push_back(what + before + " → " + after);
}

// ---- fields ----

std::string upWord(bool up) {
    return up ? "up" : "down";
}

// The virtual ONU makes up a device's MAC address from its index, which differs after the same work done twice.
std::string macWords(const json& mac) {
    const auto text = mac.get<std::string>();
    return text.rfind("02:00:00:00:", 0) == 0 ? "its own" : orNone(text);
}

// Whether the device is up is reported in words.
std::string flagWords(const json& flags) {
    std::ostringstream text;
    text << "0x" << std::hex << (flags.get<unsigned>() & ~1U);
    return text.str();
}

std::string schedulingWords(const json& mode) {
    return mode == TMCTL_SCHED_WEIGHTED_ROUND_ROBIN ? "weighted" : "strict";
}

std::string plainWords(const json& value) {
    if (value.is_boolean()) return value.get<bool>() ? "on" : "off";
    return value.is_string() ? orNone(value.get<std::string>()) : value.dump();
}

// Fields whose words are not just their name and value. Of a list, the label is that of one entry.
struct Wording {
    const char* field;
    const char* label;  // "" where the value tells all
    std::string (*words)(const json& value) = plainWords;
};
const Wording kWordings[] = {
    {"up", "", [](const json& up) { return upWord(up.get<bool>()); }},
    {"enabled", "", [](const json& enabled) { return upWord(enabled.get<bool>()); }},
    {"linkUp", "link", [](const json& up) { return upWord(up.get<bool>()); }},
    {"mtu", "MTU"},
    {"mac", "MAC", macWords},
    {"baseMac", "base MAC"},
    {"realDevice", "on"},
    {"master", "in bridge"},
    {"isBridge", "is a bridge:", [](const json& is) { return std::string(is.get<bool>() ? "yes" : "no"); }},
    {"ipv6Disabled", "IPv6", [](const json& off) { return plainWords(!off.get<bool>()); }},
    {"flags", "flags", flagWords},
    {"operState", "link"},
    {"addresses", "address"},
    {"stp", "spanning tree"},
    {"allocId", "alloc-id", [](const json& id) { return allocIdWords(id.get<unsigned>()); }},
    {"schedMode", "scheduling", schedulingWords},
    {"queues", "queue"},
    {"ports", "port"},
};

// "pathCost" is "path cost".
std::string labelOf(const std::string& name) {
    std::string label;
    for (const char c : name) {
        const bool isUpper = c >= 'A' && c <= 'Z';
        if (isUpper) label += ' ';
        label += isUpper ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return label;
}

Wording wordingOf(const char* field, std::string& own) {
    for (const Wording& one : kWordings)
        if (std::string(one.field) == field) return one;
    own = labelOf(field);
    return {field, own.c_str()};
}

template <typename Record>
void compareFields(const std::string& name, const Record& old, const Record& now, DiffLines& lines);

// The first field names a record among its like.
template <typename Record>
std::string keyOf(const Record& record) {
    const auto field = std::get<0>(fieldsOf(static_cast<const Record*>(nullptr)));
    const json key = record.*field.member;
    return key.is_string() ? key.get<std::string>() : key.dump();
}

template <typename Record>
const Record* sameKey(const std::vector<Record>& list, const Record& one) {
    const auto found =
        std::find_if(list.begin(), list.end(), [&](const auto& other) { return keyOf(other) == keyOf(one); });
    return found == list.end() ? nullptr : &*found;
}

// What is gone, what has appeared, and what has changed in those that are in both.
template <typename Record>
void compareRecords(const std::string& what, const std::vector<Record>& before, const std::vector<Record>& after,
                    const std::function<std::string(const Record&)>& words, DiffLines& lines) {
    for (const Record& one : before)
        if (sameKey(after, one) == nullptr) lines.push_back(what + " " + keyOf(one) + " is gone");
    for (const Record& one : after) {
        const Record* old = sameKey(before, one);
        const std::string name = what + " " + keyOf(one);
        if (old != nullptr)
            compareFields(name + ": ", *old, one, lines);
        else
            lines.push_back(name + " has appeared: " + words(one));
    }
}

void compareList(const std::string& name, const char* label, const DiffLines& old, const DiffLines& now,
                 DiffLines& lines) {
    compareList(name + label, old, now, lines);
}

void compareList(const std::string& name, const char* label, const std::vector<virtual_onu::Queue>& old,
                 const std::vector<virtual_onu::Queue>& now, DiffLines& lines) {
    compareRecords<virtual_onu::Queue>(name + label, old, now, queueWords, lines);
}

void compareList(const std::string& name, const char* label, const std::vector<virtual_onu::BridgePort>& old,
                 const std::vector<virtual_onu::BridgePort>& now, DiffLines& lines) {
    for (const auto& port : old)
        if (sameKey(now, port) == nullptr) lines.push_back(name + port.name + " has left");
    for (const auto& port : now)
        if (sameKey(old, port) == nullptr) lines.push_back(name + port.name + " has joined");
    for (const auto& port : now)
        if (const auto* same = sameKey(old, port))
            compareFields(name + label + " " + port.name + ": ", *same, port, lines);
}

// Lists that are reported entry by entry.
template <typename Value>
struct IsList : std::false_type {};
template <typename One>
struct IsList<std::vector<One>> : std::bool_constant<!std::is_arithmetic_v<One>> {};

template <typename Record>
void compareFields(const std::string& name, const Record& old, const Record& now, DiffLines& lines) {
    virtual_onu::forEachField<Record>(virtual_onu::kInDiff, [&](const auto& field) {
        std::string own;
        const Wording wording = wordingOf(field.name, own);
        const auto &before = old.*field.member, &after = now.*field.member;
        if constexpr (IsList<std::decay_t<decltype(before)>>::value) {
            compareList(name, wording.label, before, after, lines);
        } else {
            const std::string label = name + wording.label + (wording.label[0] == '\0' ? "" : " ");
            compareValue(label, wording.words(before), wording.words(after), lines);
        }
    });
}

// ---- devices and bridges ----

std::string deviceWords(const virtual_onu::NetworkDevice& device) {
    DiffLines words = {upWord(device.up), "MTU " + std::to_string(device.mtu)};
    if (!device.realDevice.empty()) words.insert(words.begin(), "on " + device.realDevice);
    if (device.routed) words.emplace_back("routed");
    if (device.multicast) words.emplace_back("multicast");
    if (device.ipv6Disabled) words.emplace_back("no IPv6");
    for (const auto& address : device.addresses) words.push_back(address);
    return joined(words);
}

// A bridge that only one state has is reported among the bridges.
std::vector<virtual_onu::NetworkDevice> devicesToCompare(const DeviceState& state, const DeviceState& other) {
    std::vector<virtual_onu::NetworkDevice> devices;
    for (const auto& device : state.devices)
        if (!device.isBridge || other.device(device.name) != nullptr) devices.push_back(device);
    return devices;
}

void compareNetwork(const DeviceState& before, const DeviceState& after, DiffLines& lines) {
    compareRecords<virtual_onu::NetworkDevice>("device", devicesToCompare(before, after),
                                               devicesToCompare(after, before), deviceWords, lines);
    const auto bridgeWords = [&after](const virtual_onu::Bridge& bridge) {
        const virtual_onu::NetworkDevice* device = after.device(bridge.name);
        DiffLines parts = {upWord(device != nullptr && device->up), "members " + orNone(joined(bridge.members()))};
        if (bridge.stp) parts.emplace_back("spanning tree on");
        if (device != nullptr) parts.insert(parts.end(), device->addresses.begin(), device->addresses.end());
        return joined(parts);
    };
    compareRecords<virtual_onu::Bridge>("bridge", before.bridges, after.bridges, bridgeWords, lines);
}

// ---- rules ----

const TableState* sameTable(const DeviceState& state, const TableState& table) {
    for (const TableState& other : state.tables)
        if (other.device == table.device && other.receive == table.receive && other.tags == table.tags) return &other;
    return nullptr;
}

using Terms = std::vector<std::string>;
std::vector<Terms> termsOf(const TableState* table) {
    std::vector<Terms> all;
    if (table == nullptr) return all;
    for (const RuleState& rule : table->rules) all.push_back(rule.terms);
    return all;
}

// The rules of one state that the other one has not, table by table.
std::vector<TableState> tablesWithout(const DeviceState& state, const DeviceState& other) {
    std::vector<TableState> tables;
    for (const TableState& table : state.tables) {
        tables.push_back({table.device, table.receive, table.tags, {}, std::nullopt});
        for (const Terms& terms : without(termsOf(&table), termsOf(sameTable(other, table))))
            tables.back().rules.push_back({terms});
    }
    return tables;
}

void ruleLines(const std::string& what, const std::vector<TableState>& tables, DiffLines& lines) {
    std::vector<std::pair<std::string, bool>> seen;
    for (const TableState& first : tables) {
        const auto side = std::make_pair(first.device, first.receive);
        if (std::find(seen.begin(), seen.end(), side) != seen.end()) continue;
        seen.push_back(side);
        std::vector<const TableState*> same;
        for (const TableState& table : tables)
            if (table.device == first.device && table.receive == first.receive) same.push_back(&table);
        for (const MergedRule& rule : mergedRules(same)) {
            const std::string where = rule.device + (rule.receive ? " receives" : " sends");
            lines.push_back(where + ", rule " + what + ": " +
                            ruleWords(rule.device, rule.receive, rule.tags, rule.terms).sentence());
        }
    }
}

// "sid0 receives, frames with 0, 1 tags"
std::string tableWords(const std::string& device, bool receive, const std::set<unsigned>& tags) {
    DiffLines numbers;
    for (const unsigned count : tags) numbers.push_back(std::to_string(count));
    const bool one = tags == std::set<unsigned>{1};
    return device + (receive ? " receives" : " sends") + ", frames with " + joined(numbers) + (one ? " tag" : " tags");
}

// The rules that both have: first come, first matched, so that their order counts.
void compareOrder(const DeviceState& before, const DeviceState& after, DiffLines& lines) {
    for (const TableState& table : before.tables) {
        const auto old = termsOf(&table), now = termsOf(sameTable(after, table));
        if (apart(old, now).first != apart(now, old).first)
            lines.push_back(tableWords(table.device, table.receive, {table.tags}) + ": rules are in another order");
    }
}

std::string defaultWords(const TableState* table) {
    if (table == nullptr || !table->defaultAction) return "not set";
    return *table->defaultAction == "drop" ? "drop" : "pass to " + *table->defaultAction;
}

void compareDefaults(const DeviceState& before, const DeviceState& after, DiffLines& lines) {
    struct Change {
        std::string device;
        bool receive;
        std::string words;
        std::set<unsigned> tags;
    };
    std::vector<Change> changes;
    const auto add = [&changes](const TableState& table, const TableState* old, const TableState* now) {
        if (defaultWords(old) == defaultWords(now)) return;
        const std::string words = defaultWords(old) + " → " + defaultWords(now);
        for (Change& one : changes) {
            if (one.device != table.device || one.receive != table.receive || one.words != words) continue;
            one.tags.insert(table.tags);
            return;
        }
        changes.push_back({table.device, table.receive, words, {table.tags}});
    };
    for (const TableState& table : before.tables) add(table, &table, sameTable(after, table));
    for (const TableState& table : after.tables)
        if (sameTable(before, table) == nullptr) add(table, nullptr, &table);
    for (const Change& one : changes)
        lines.push_back(tableWords(one.device, one.receive, one.tags) + ", default: " + one.words);
}

void compareRules(const DeviceState& before, const DeviceState& after, DiffLines& lines) {
    ruleLines("removed", tablesWithout(before, after), lines);
    ruleLines("added", tablesWithout(after, before), lines);
    compareOrder(before, after, lines);
    compareDefaults(before, after, lines);
    const auto words = [](const DeviceState& state) {
        DiffLines flows;
        for (const auto& [from, to] : state.flows) flows.push_back(from + " → " + to);
        return flows;
    };
    compareList("VLAN flow", words(before), words(after), lines);
}

// ---- PON ----

void comparePon(const DeviceState& before, const DeviceState& after, DiffLines& lines) {
    const auto tcontWords = [](const virtual_onu::Tcont& tcont) {
        return "alloc-id " + allocIdWords(tcont.allocId) + ", " + std::to_string(tcont.queues.size()) + " queues";
    };
    compareRecords<virtual_onu::Tcont>("T-CONT", before.tconts, after.tconts, tcontWords, lines);
    const auto portWords = [](const virtual_onu::GemPort& port) {
        return "index " + std::to_string(port.index) + ", alloc-id " + allocIdWords(port.allocId) + ", " +
               gemPortWords(port);
    };
    compareRecords<virtual_onu::GemPort>("GEM port", before.gemPorts, after.gemPorts, portWords, lines);
    const auto stateWords = [](const std::optional<unsigned>& state) {
        return state ? std::to_string(*state) : std::string("not started");
    };
    compareValue("PON link: ", stateWords(before.adminState), stateWords(after.adminState), lines);
}

// ---- board ----

void compareBoard(const DeviceState& before, const DeviceState& after, DiffLines& lines) {
    using virtual_onu::board::Image;
    using virtual_onu::board::Phy;
    compareFields("board: ", before.identity, after.identity, lines);
    compareRecords<Image>(
        "image", before.images, after.images, [](const Image& image) { return orNone(image.version); }, lines);
    compareRecords<Phy>(
        "PHY", before.phys, after.phys, [](const Phy& phy) { return "link " + upWord(phy.linkUp); }, lines);
    const auto stored = [](const DeviceState& state) {
        DiffLines values;
        for (const auto& [key, value] : state.persistent) values.push_back(key + " = " + value);
        return values;
    };
    compareList("stored value", stored(before), stored(after), lines);
}

DiffLines texts(const std::vector<FailedCall>& calls) {
    DiffLines all;
    for (const FailedCall& call : calls) all.push_back(call.text());
    return all;
}

}  // namespace

std::vector<std::string> differences(const DeviceState& before, const DeviceState& after) {
    DiffLines lines;
    compareNetwork(before, after, lines);
    compareRules(before, after, lines);
    comparePon(before, after, lines);
    compareBoard(before, after, lines);
    compareList("runner object", before.runnerObjects, after.runnerObjects, lines);
    compareList("ingress queue key", before.ingressKeys, after.ingressKeys, lines);
    compareList("policy routing rule", before.ipRules, after.ipRules, lines);
    compareList("route", before.ipRoutes, after.ipRoutes, lines);
    compareList("message to the gateway", before.messages, after.messages, lines);
    compareList("shell command that is not understood", before.strangeCommands, after.strangeCommands, lines);
    compareList("failed call", texts(before.failedCalls), texts(after.failedCalls), lines);
    return lines;
}

}  // namespace vorn_onu
