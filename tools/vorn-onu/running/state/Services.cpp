#include "running/state/Services.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace vorn_onu {

namespace {

using virtual_onu::NetworkDevice;

// The value of a term that begins with the prefix, or "".
std::string valueOf(const std::string& term, const std::string& prefix) {
    return term.compare(0, prefix.size(), prefix) == 0 ? term.substr(prefix.size()) : "";
}

// The VLAN device that a rule hands frames to or takes them from.
std::string vlanDeviceOf(const MergedRule& rule) {
    for (const std::string& term : rule.terms)
        for (const char* prefix : {"rxdev=", "txdev="})
            if (const std::string device = valueOf(term, prefix); !device.empty()) return device;
    return "";
}

constexpr int kDeepest = 8;  // devices on top of each other; more are none of this board's

// How many devices lie between this one and the PON; kDeepest for a device on the user's side.
int distanceToPon(const DeviceState& state, const std::string& name) {
    std::string device = name;
    for (int depth = 0; depth < kDeepest; ++depth) {
        if (device == "gpondef") return depth;
        const NetworkDevice* found = state.device(device);
        if (found == nullptr || found->realDevice.empty()) break;
        device = found->realDevice;
    }
    return kDeepest;
}

bool isOnPon(const DeviceState& state, const std::string& name) {
    return distanceToPon(state, name) < kDeepest;
}

void addMember(Service& service, const DeviceState& state, const std::string& name) {
    const NetworkDevice* device = state.device(name);
    const bool onPort = device == nullptr || device->realDevice.empty();
    const ServiceEnd end{onPort ? name : device->realDevice, onPort ? "" : name};
    (isOnPon(state, name) ? service.anis : service.unis).push_back(end);
}

// Whether the rule takes part in the service: it names one of its VLAN devices or one of the devices under them.
bool concerns(const MergedRule& rule, const Service& service) {
    const std::string device = vlanDeviceOf(rule);
    const auto names = [&](const ServiceEnd& end, bool ani) {
        if (!end.device.empty() && end.device == device) return true;
        return ani && end.port == device;  // "gpon3" on gpondef
    };
    return std::any_of(service.unis.begin(), service.unis.end(), [&](const auto& end) { return names(end, false); }) ||
           std::any_of(service.anis.begin(), service.anis.end(), [&](const auto& end) { return names(end, true); });
}

std::vector<MergedRule> allRules(const DeviceState& state) {
    std::vector<MergedRule> all;
    std::vector<std::pair<std::string, bool>> seen;
    for (const TableState& first : state.tables) {
        const auto key = std::make_pair(first.device, first.receive);
        if (std::find(seen.begin(), seen.end(), key) != seen.end()) continue;
        seen.push_back(key);
        std::vector<const TableState*> tables;
        for (const TableState& table : state.tables)
            if (table.device == first.device && table.receive == first.receive) tables.push_back(&table);
        const auto merged = mergedRules(tables);
        all.insert(all.end(), merged.begin(), merged.end());
    }
    return all;
}

std::optional<unsigned> numberOf(const MergedRule& rule, const char* prefix) {
    for (const std::string& term : rule.terms)
        if (const std::string number = valueOf(term, prefix); !number.empty())
            return static_cast<unsigned>(std::stoul(number));
    return std::nullopt;
}

void claimRules(Service& service, const std::vector<MergedRule>& rules) {
    for (const MergedRule& rule : rules) {
        if (!concerns(rule, service)) continue;
        service.rules.push_back(rule);
        for (const char* prefix : {"gem=", "mark-gem:="})
            if (const auto index = numberOf(rule, prefix)) service.gemIndexes.insert(*index);
        const auto gem = numberOf(rule, "mark-gem:="), queue = numberOf(rule, "mark-queue:=");
        if (gem && queue) service.queues[*gem].insert(*queue);
    }
}

bool owns(const Service& service, const std::string& device) {
    const auto is = [&](const ServiceEnd& end) { return end.device == device; };
    return std::any_of(service.unis.begin(), service.unis.end(), is) ||
           std::any_of(service.anis.begin(), service.anis.end(), is);
}

// A flow between two services belongs to the one whose PON device it starts or ends at.
void claimFlows(Service& service, const DeviceState& state) {
    for (const auto& flow : state.flows) {
        for (const auto& [own, other] : {flow, std::make_pair(flow.second, flow.first)}) {
            const bool isPonSide = std::any_of(service.anis.begin(), service.anis.end(),
                                               [&own = own](const ServiceEnd& end) { return end.device == own; });
            const bool isKnown = std::count(service.flowDevices.begin(), service.flowDevices.end(), other) != 0;
            if (isPonSide && !owns(service, other) && !isKnown) service.flowDevices.push_back(other);
        }
    }
}

}  // namespace

std::vector<MergedRule> mergedRules(const std::vector<const TableState*>& tables) {
    std::vector<MergedRule> merged;
    for (const TableState* table : tables) {
        for (const RuleState& rule : table->rules) {
            const auto same = std::find_if(merged.begin(), merged.end(), [&](const MergedRule& one) {
                return one.terms == rule.terms && one.tags.count(table->tags) == 0;
            });
            MergedRule& one = same != merged.end()
                                  ? *same
                                  : merged.emplace_back(MergedRule{table->device, table->receive, {}, rule.terms});
            one.tags.insert(table->tags);
            one.numbers.insert(rule.number);
        }
    }
    std::vector<MergedRule> lines;
    for (MergedRule& rule : merged) {
        const auto same = std::find_if(lines.begin(), lines.end(), [&](const MergedRule& one) {
            return one.terms == rule.terms && one.tags == rule.tags;
        });
        if (same == lines.end()) {
            lines.push_back(std::move(rule));
            continue;
        }
        ++same->times;
        same->numbers.insert(rule.numbers.begin(), rule.numbers.end());
    }
    return lines;
}

std::string numbersOf(const MergedRule& rule) {
    std::string text;
    for (auto first = rule.numbers.begin(); first != rule.numbers.end();) {
        auto last = first, next = std::next(first);
        while (next != rule.numbers.end() && *next == *last + 1) last = next++;
        text +=
            (text.empty() ? "" : ", ") + std::to_string(*first) + (last == first ? "" : "-" + std::to_string(*last));
        first = next;
    }
    return text;
}

std::string repetition(const MergedRule& rule) {
    if (rule.times < 2) return "";
    return " (rule occurs " + (rule.times == 2 ? "twice" : std::to_string(rule.times) + " times") + ")";
}

std::vector<Service> servicesOf(const DeviceState& state) {
    const std::vector<MergedRule> rules = allRules(state);
    std::vector<Service> services;
    for (const auto& bridge : state.bridges) {
        Service service;
        service.name = bridge.name;
        for (const std::string& member : bridge.members()) addMember(service, state, member);
        for (const NetworkDevice& device : state.devices)  // the IP host sits on the bridge itself
            if (device.realDevice == bridge.name) service.unis.push_back({"IP host", device.name});
        const bool onlyPorts =
            std::all_of(service.unis.begin(), service.unis.end(), [](const auto& end) { return end.device.empty(); });
        if (service.anis.empty() && onlyPorts && !service.unis.empty()) continue;
        claimRules(service, rules);
        claimFlows(service, state);
        services.push_back(std::move(service));
    }
    for (const NetworkDevice& device : state.devices) {
        if (!device.routed || device.realDevice.empty()) continue;
        Service service;
        service.name = device.name;
        service.isBridge = false;
        service.unis.push_back({"gateway", device.name});
        const NetworkDevice* under = state.device(device.realDevice);
        service.anis.push_back({under != nullptr ? under->realDevice : "", device.realDevice});
        claimRules(service, rules);
        services.push_back(std::move(service));
    }
    return services;
}

bool isUpstream(const DeviceState& state, const MergedRule& rule) {
    const NetworkDevice* device = state.device(rule.device);
    // What a bridge receives is for the IP host on it.
    const bool towardsUser = isOnPon(state, rule.device) || (device != nullptr && device->isBridge);
    return rule.receive != towardsUser;
}

std::vector<MergedRule> inFrameOrder(const DeviceState& state, std::vector<MergedRule> rules, bool upstream) {
    std::stable_sort(rules.begin(), rules.end(), [&](const MergedRule& a, const MergedRule& b) {
        const int first = distanceToPon(state, a.device), second = distanceToPon(state, b.device);
        return upstream ? first > second : first < second;
    });
    return rules;
}

std::vector<MergedRule> otherRules(const DeviceState& state, const std::vector<Service>& services) {
    std::vector<MergedRule> others;
    for (const MergedRule& rule : allRules(state))
        if (std::none_of(services.begin(), services.end(), [&](const Service& one) { return concerns(rule, one); }))
            others.push_back(rule);
    return others;
}

}  // namespace vorn_onu
