#include "views/DeviceReport.h"

#include <algorithm>
#include <map>
#include <set>

#include "running/io/Words.h"
#include "running/state/PonWords.h"
#include "running/state/RuleWords.h"
#include "running/state/Services.h"
#include "running/state/TapWords.h"

namespace vorn_onu {

namespace {

using virtual_onu::NetworkDevice;

constexpr std::size_t kMaxWarnings = 8;
constexpr std::size_t kMaxLearned = 12;

std::string section(const std::string& title, const std::string& body, const Terminal& terminal) {
    return body.empty() ? "" : "\n" + terminal.bold(title) + "\n" + body;
}

std::string bridges(const DeviceState& state, const Terminal& terminal) {
    Table table({"bridge", "", "members"});
    for (const auto& bridge : state.bridges) {
        const NetworkDevice* device = state.device(bridge.name);
        std::string members = joined(bridge.members(), " ");
        if (bridge.stp) members += " (spanning tree on)";
        table.row({bridge.name, device != nullptr && device->up ? "up" : "down", members.empty() ? "none" : members});
    }
    return section("Bridges", table.text(terminal), terminal);
}

// Which port each known station is behind.
std::string learned(const DeviceState& state, const Terminal& terminal) {
    Table table({"bridge", "address", "behind"});
    const std::size_t shown = std::min(state.learned.size(), kMaxLearned);
    for (std::size_t i = 0; i < shown; ++i)
        table.row({state.learned[i].bridge, state.learned[i].mac, state.learned[i].port});
    std::string body = table.text(terminal);
    if (state.learned.size() > shown) body += "  and " + std::to_string(state.learned.size() - shown) + " more\n";
    return section("Learned addresses", body, terminal);
}

bool differs(const NetworkDevice& device, const NetworkDevice* before) {
    return before == nullptr || device.up != before->up || device.mtu != before->mtu ||
           device.addresses != before->addresses || device.mac != before->mac ||
           device.ipv6Disabled != before->ipv6Disabled;
}

std::string devices(const DeviceState& state, const DeviceState& newBoard, const Terminal& terminal) {
    Table table({"device", "", "on", "bridge", ""});
    for (const auto& device : state.devices) {
        if (!differs(device, newBoard.device(device.name))) continue;
        if (device.isBridge && device.addresses.empty()) continue;
        std::vector<std::string> remarks;
        if (device.routed) remarks.emplace_back("routed");
        if (device.ipv6Disabled) remarks.emplace_back("no IPv6");
        if (device.mtu != 1500) remarks.push_back("MTU " + std::to_string(device.mtu));
        for (const auto& address : device.addresses) remarks.push_back(address);
        table.row({device.name, device.up ? "up" : "down", device.realDevice, device.master, joined(remarks)});
    }
    return section("Devices", table.text(terminal), terminal);
}

// ---- rules ----

std::string defaultWords(const std::vector<const TableState*>& tables) {
    std::map<std::string, std::set<unsigned>> byAction;
    for (const TableState* table : tables)
        if (table->defaultAction) byAction[*table->defaultAction].insert(table->tags);
    std::vector<std::string> words;
    for (const auto& [action, tags] : byAction) {
        const std::string what = action == "drop" ? "dropped" : "→ " + action;
        words.push_back((byAction.size() == 1 ? "everything else " : "else ") + what);
    }
    return joined(words);
}

struct RuleLine {
    std::string numbers, frames, action;
};

// Frames and what is done with them: side by side, or below each other in a window that is too narrow for that.
std::string ruleLines(const std::vector<RuleLine>& rules, const Terminal& terminal) {
    constexpr std::size_t kIndent = 4;
    Table table;
    for (const auto& [numbers, frames, action] : rules) table.row({numbers, frames, action});
    if (table.fits(terminal, kIndent)) return table.text(terminal, kIndent);
    std::size_t widest = 0;
    for (const RuleLine& rule : rules) widest = std::max(widest, rule.numbers.size());
    constexpr std::size_t kGap = 2;
    const std::size_t framesAt = kIndent + widest + kGap, actionAt = framesAt + kIndent;
    std::string text;
    for (const auto& [numbers, frames, action] : rules) {
        text += std::string(kIndent, ' ') + numbers + std::string(widest + kGap - numbers.size(), ' ') +
                hanging(frames, terminal.width(), framesAt) + "\n" + std::string(actionAt, ' ') +
                hanging(action, terminal.width(), actionAt) + "\n";
    }
    return text;
}

// The rules of one device and direction. Where they all concern one VLAN device, it is in the heading.
std::string rulesOf(const std::string& device, bool receive, const std::vector<MergedRule>& rules,
                    const Terminal& terminal) {
    std::set<std::string> others;
    std::vector<RuleWords> words;
    for (const MergedRule& rule : rules) {
        words.push_back(ruleWords(device, receive, rule.tags, rule.terms));
        const std::string other = receive ? words.back().to : words.back().from;
        if (!other.empty()) others.insert(other);
    }
    const bool one = others.size() == 1;
    std::string heading = "  " + device + (receive ? " receives" : " sends");
    if (one) heading += (receive ? ", for " : ", from ") + *others.begin();
    std::vector<RuleLine> lines;
    for (std::size_t i = 0; i < rules.size(); ++i) {
        const std::string from = receive || one ? "" : " from " + words[i].from;
        const std::string to = !receive || one || words[i].to.empty() ? "" : " → " + words[i].to;
        lines.push_back(
            {numbersOf(rules[i]), words[i].frames + from + ":", words[i].action + to + repetition(rules[i])});
    }
    return heading + "\n" + ruleLines(lines, terminal);
}

std::string rules(const DeviceState& state, const Terminal& terminal) {
    std::vector<std::pair<std::string, bool>> order;  // device and direction, as they come
    std::map<std::pair<std::string, bool>, std::vector<const TableState*>> groups;
    for (const TableState& table : state.tables) {
        const auto key = std::make_pair(table.device, table.receive);
        if (groups[key].empty()) order.push_back(key);
        groups[key].push_back(&table);
    }
    std::string body;
    for (const auto& key : order) {
        const auto& tables = groups[key];
        const std::vector<MergedRule> merged = mergedRules(tables);
        if (merged.empty()) continue;
        body += rulesOf(key.first, key.second, merged, terminal);
        const std::string otherwise = defaultWords(tables);
        if (!otherwise.empty()) body += "    " + terminal.dim(otherwise) + "\n";
    }
    return section("Rules", body, terminal);
}

std::string flows(const DeviceState& state, const Terminal& terminal) {
    std::string body;
    std::set<std::pair<std::string, std::string>> all(state.flows.begin(), state.flows.end()), shown;
    for (const auto& [from, to] : state.flows) {
        if (shown.count({to, from}) != 0) continue;
        shown.insert({from, to});
        body += "  " + from + (all.count({to, from}) != 0 ? " ↔ " : " → ") + to + "\n";
    }
    return section("VLAN flows", body, terminal);
}

// ---- PON ----

std::string tconts(const DeviceState& state, const Terminal& terminal) {
    Table table({"T-CONT", "alloc-id", "queues"});
    for (const auto& tcont : state.tconts) {
        if (tcont.allocId == kNoAllocId && tcont.queues.empty()) continue;
        const std::string queues = joined(queueRanges(tcont.queues), "; ");
        table.row({std::to_string(tcont.index), allocIdWords(tcont.allocId), queues.empty() ? "none" : queues});
    }
    return section("T-CONTs", table.text(terminal), terminal);
}

std::string gemPorts(const DeviceState& state, const Terminal& terminal) {
    Table table({"GEM port", "index", "alloc-id", ""});
    for (const auto& port : state.gemPorts)
        table.row(
            {std::to_string(port.portId), std::to_string(port.index), allocIdWords(port.allocId), gemPortWords(port)});
    return section("GEM ports", table.text(terminal), terminal);
}

std::string ponLink(const DeviceState& state, const Terminal& terminal) {
    const std::string words = linkWords(state);
    return section("PON link", words.empty() ? "" : "  " + words + "\n", terminal);
}

std::string list(const std::string& title, const std::vector<std::string>& lines, const Terminal& terminal) {
    Table table;
    for (const auto& line : lines) table.row({line});
    return section(title, table.text(terminal), terminal);
}

std::vector<std::string> routing(const DeviceState& state) {
    std::vector<std::string> lines;
    for (const auto& rule : state.ipRules) lines.push_back("rule: " + rule);
    for (const auto& route : state.ipRoutes) lines.push_back("route: " + route);
    return lines;
}

std::string shortList(const std::string& head, const std::vector<std::string>& lines, const Terminal& terminal) {
    if (lines.empty()) return "";
    std::string body = "  " + terminal.yellow(head) + "\n";
    for (std::size_t i = 0; i < lines.size() && i < kMaxWarnings; ++i)
        body += "    " + hanging(lines[i], terminal.width(), 6) + "\n";
    if (lines.size() > kMaxWarnings) body += "    and " + std::to_string(lines.size() - kMaxWarnings) + " more\n";
    return body;
}

}  // namespace

std::string realPackets(const DeviceState& state, const Terminal& terminal) {
    Table table({"port", "TAP", "link", "frames in", "frames out", "lost"});
    std::string remarks;
    for (const TapState& tap : state.taps) {
        table.row({tap.port, tap.interface, tap.linkUp ? "up" : "down", std::to_string(tap.framesIn),
                   std::to_string(tap.framesOut), std::to_string(tap.lostIn + tap.lostOut)});
        const std::string words = tapWords(tap);
        if (!words.empty()) remarks += "  " + hanging(tap.port + ": " + words, terminal.width(), 4) + "\n";
    }
    return section("Real packets", table.text(terminal) + remarks, terminal);
}

std::string deviceReport(const DeviceState& state, const DeviceState& newBoard, const Terminal& terminal) {
    return bridges(state, terminal) + learned(state, terminal) + devices(state, newBoard, terminal) +
           rules(state, terminal) + flows(state, terminal) + ponLink(state, terminal) + tconts(state, terminal) +
           gemPorts(state, terminal) + list("Runner objects", state.runnerObjects, terminal) +
           list("Ingress queue keys", state.ingressKeys, terminal) + list("Policy routing", routing(state), terminal) +
           list("Messages to the gateway", state.messages, terminal) + realPackets(state, terminal) +
           list("Armed faults", state.armedFaults, terminal);
}

std::string warnings(const DeviceState& state, const Terminal& terminal, const std::vector<RunStep>& steps) {
    std::vector<std::string> failed;
    for (const FailedCallWords& call : failedCallWords(state.failedCalls, steps)) failed.push_back(call.sentence());
    return section(
        "Warnings",
        shortList("shell commands that the virtual ONU does not understand:", state.strangeCommands, terminal) +
            shortList("calls into the device kit that failed:", failed, terminal),
        terminal);
}

}  // namespace vorn_onu
