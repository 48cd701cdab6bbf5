#include "state/Diff.h"

#include <algorithm>
#include <map>
#include <set>

#include "io/Words.h"
#include "state/PonWords.h"
#include "state/RuleWords.h"
#include "state/Services.h"

namespace vorn_onu {

namespace {

using Lines = std::vector<std::string>;

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

void compareList(const std::string& what, const Lines& before, const Lines& after, Lines& lines) {
    for (const auto& one : without(before, after)) lines.push_back(what + " removed: " + one);
    for (const auto& one : without(after, before)) lines.push_back(what + " added: " + one);
}

void compareValue(const std::string& what, const std::string& before, const std::string& after, Lines& lines) {
    if (before != after) lines.push_back(what + before + " → " + after);
}

// Pairs the objects of both states by their key and tells what is gone, what has appeared and what is in both.
template <typename T, typename Key, typename Words, typename Compare>
void compareObjects(const std::vector<T>& before, const std::vector<T>& after, Key key, Words words, Compare compare,
                    const std::string& what, Lines& lines) {
    const auto find = [&key](const std::vector<T>& list, const T& one) {
        return std::find_if(list.begin(), list.end(), [&](const T& other) { return key(other) == key(one); });
    };
    for (const T& one : before)
        if (find(after, one) == after.end()) lines.push_back(what + " " + key(one) + " is gone");
    for (const T& one : after) {
        const auto old = find(before, one);
        const std::string name = what + " " + key(one);
        if (old != before.end())
            compare(name + ": ", *old, one);
        else
            lines.push_back(name + " has appeared: " + words(one));
    }
}

// ---- devices and bridges ----

std::string upWord(bool up) {
    return up ? "up" : "down";
}

std::string onWord(bool on) {
    return on ? "on" : "off";
}

std::string deviceWords(const virtual_onu::NetworkDevice& device) {
    Lines words = {upWord(device.up), "MTU " + std::to_string(device.mtu)};
    if (!device.realDevice.empty()) words.insert(words.begin(), "on " + device.realDevice);
    if (device.routed) words.emplace_back("routed");
    if (device.ipv6Disabled) words.emplace_back("no IPv6");
    for (const auto& address : device.addresses) words.push_back(address);
    return joined(words);
}

// The virtual ONU makes up a device's MAC address from its index, which differs after the same work done twice.
std::string macWords(const virtual_onu::NetworkDevice& device) {
    return device.mac.rfind("02:00:00:00:", 0) == 0 ? "its own" : orNone(device.mac);
}

// A bridge that only one state has is told among the bridges.
std::vector<virtual_onu::NetworkDevice> devicesToCompare(const DeviceState& state, const DeviceState& other) {
    std::vector<virtual_onu::NetworkDevice> devices;
    for (const auto& device : state.devices)
        if (!device.isBridge || other.device(device.name) != nullptr) devices.push_back(device);
    return devices;
}

void compareDevices(const DeviceState& before, const DeviceState& after, Lines& lines) {
    using Device = virtual_onu::NetworkDevice;
    const auto compare = [&lines](const std::string& name, const Device& old, const Device& now) {
        compareValue(name, upWord(old.up), upWord(now.up), lines);
        compareValue(name + "MTU ", std::to_string(old.mtu), std::to_string(now.mtu), lines);
        compareValue(name + "MAC ", macWords(old), macWords(now), lines);
        compareValue(name + "on ", orNone(old.realDevice), orNone(now.realDevice), lines);
        compareValue(name + "routed ", onWord(old.routed), onWord(now.routed), lines);
        compareValue(name + "IPv6 ", onWord(!old.ipv6Disabled), onWord(!now.ipv6Disabled), lines);
        compareList(name + "address", old.addresses, now.addresses, lines);
    };
    compareObjects(
        devicesToCompare(before, after), devicesToCompare(after, before),
        [](const Device& device) { return device.name; }, deviceWords, compare, "device", lines);
}

void compareBridges(const DeviceState& before, const DeviceState& after, Lines& lines) {
    using Bridge = virtual_onu::Bridge;
    const auto words = [&after](const Bridge& bridge) {
        const virtual_onu::NetworkDevice* device = after.device(bridge.name);
        Lines parts = {upWord(device != nullptr && device->up), "members " + orNone(joined(bridge.members()))};
        if (bridge.stp) parts.emplace_back("spanning tree on");
        if (device != nullptr) parts.insert(parts.end(), device->addresses.begin(), device->addresses.end());
        return joined(parts);
    };
    const auto compare = [&lines](const std::string& name, const Bridge& old, const Bridge& now) {
        for (const auto& member : without(old.members(), now.members())) lines.push_back(name + member + " has left");
        for (const auto& member : without(now.members(), old.members())) lines.push_back(name + member + " has joined");
        compareValue(name + "spanning tree ", onWord(old.stp), onWord(now.stp), lines);
        compareValue(name + "forward delay ", std::to_string(old.forwardDelay), std::to_string(now.forwardDelay),
                     lines);
    };
    compareObjects(
        before.bridges, after.bridges, [](const Bridge& bridge) { return bridge.name; }, words, compare, "bridge",
        lines);
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

void ruleLines(const std::string& what, const std::vector<TableState>& tables, Lines& lines) {
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
    Lines numbers;
    for (const unsigned count : tags) numbers.push_back(std::to_string(count));
    const bool one = tags == std::set<unsigned>{1};
    return device + (receive ? " receives" : " sends") + ", frames with " + joined(numbers) + (one ? " tag" : " tags");
}

// The rules that both have: first come, first matched, so that their order counts.
void compareOrder(const DeviceState& before, const DeviceState& after, Lines& lines) {
    for (const TableState& table : before.tables) {
        const auto old = termsOf(&table), now = termsOf(sameTable(after, table));
        if (apart(old, now).first != apart(now, old).first)
            lines.push_back(tableWords(table.device, table.receive, {table.tags}) + ": rules stand in another order");
    }
}

std::string defaultWords(const TableState* table) {
    if (table == nullptr || !table->defaultAction) return "not set";
    return *table->defaultAction == "drop" ? "drop" : "pass to " + *table->defaultAction;
}

void compareDefaults(const DeviceState& before, const DeviceState& after, Lines& lines) {
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

void compareRules(const DeviceState& before, const DeviceState& after, Lines& lines) {
    ruleLines("removed", tablesWithout(before, after), lines);
    ruleLines("added", tablesWithout(after, before), lines);
    compareOrder(before, after, lines);
    compareDefaults(before, after, lines);
    const auto words = [](const DeviceState& state) {
        Lines flows;
        for (const auto& [from, to] : state.flows) flows.push_back(from + " → " + to);
        return flows;
    };
    compareList("VLAN flow", words(before), words(after), lines);
}

// ---- PON ----

// With its priority in any case: what has changed may be that.
std::string queueState(const virtual_onu::Queue& queue) {
    const std::string way = queue.schedMode == 2 ? "weighted " + std::to_string(queue.weight)
                                                 : "strict, priority " + std::to_string(queue.priority);
    return way + ", " + std::to_string(queue.size) + " packets";
}

void comparePon(const DeviceState& before, const DeviceState& after, Lines& lines) {
    using virtual_onu::GemPort;
    using virtual_onu::Queue;
    using virtual_onu::Tcont;
    const auto queueId = [](const Queue& queue) { return std::to_string(queue.id); };
    const auto compareTcont = [&](const std::string& name, const Tcont& old, const Tcont& now) {
        compareValue(name + "alloc-id ", allocIdWords(old.allocId), allocIdWords(now.allocId), lines);
        const auto compareQueue = [&lines](const std::string& queue, const Queue& oldQueue, const Queue& nowQueue) {
            compareValue(queue, queueState(oldQueue), queueState(nowQueue), lines);
        };
        compareObjects(old.queues, now.queues, queueId, queueState, compareQueue, name + "queue", lines);
    };
    const auto tcontWords = [&](const Tcont& tcont) {
        return "alloc-id " + allocIdWords(tcont.allocId) + ", " + std::to_string(tcont.queues.size()) + " queues";
    };
    compareObjects(
        before.tconts, after.tconts, [](const Tcont& tcont) { return std::to_string(tcont.index); }, tcontWords,
        compareTcont, "T-CONT", lines);

    const auto gemWords = [&](const GemPort& port) {
        return "index " + std::to_string(port.index) + ", alloc-id " + allocIdWords(port.allocId) + ", " +
               upWord(port.enabled) + (port.downstreamOnly ? ", downstream only" : "");
    };
    const auto compareGem = [&](const std::string& name, const GemPort& old, const GemPort& now) {
        compareValue(name, gemWords(old), gemWords(now), lines);
    };
    compareObjects(
        before.gemPorts, after.gemPorts, [](const GemPort& port) { return std::to_string(port.portId); }, gemWords,
        compareGem, "GEM port", lines);
    const auto stateWords = [](const std::optional<unsigned>& state) {
        return state ? std::to_string(*state) : std::string("not started");
    };
    compareValue("PON link: ", stateWords(before.adminState), stateWords(after.adminState), lines);
}

Lines texts(const std::vector<FailedCall>& calls) {
    Lines all;
    for (const FailedCall& call : calls) all.push_back(call.text());
    return all;
}

}  // namespace

std::vector<std::string> differences(const DeviceState& before, const DeviceState& after) {
    Lines lines;
    compareDevices(before, after, lines);
    compareBridges(before, after, lines);
    compareRules(before, after, lines);
    comparePon(before, after, lines);
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
