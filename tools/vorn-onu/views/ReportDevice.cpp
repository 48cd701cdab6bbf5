// The parts of the report that show what is on the device.
#include <algorithm>
#include <map>

#include "running/io/Words.h"
#include "running/state/PonWords.h"
#include "running/state/RuleWords.h"
#include "running/state/ServiceWords.h"
#include "running/state/Services.h"
#include "running/state/TapWords.h"
#include "views/Html.h"
#include "views/Report.h"

namespace vorn_onu {

namespace {

using namespace html;

constexpr std::size_t kMaxVlanListLength = 40;
constexpr std::size_t kMaxOpenServices = 8;  // when there are more, each is folded up

std::string tableCard(const std::vector<std::string>& headings, const RowGroup& rows) {
    const std::string text = table(headings, {rows});
    return text.empty() ? "" : card(text);
}

// ---- services and their rules ----

// One path through the device: chips in a row, and what is said of them behind.
std::string way(const std::vector<std::string>& names, const char* kind, const std::string& remark) {
    std::string chips;
    for (const std::string& name : names)
        if (!name.empty()) chips += (chips.empty() ? "" : element("i", "")) + chip(name, kind);
    return chips.empty() ? "" : element("li", chips + (remark.empty() ? "" : " " + element("small", escaped(remark))));
}

std::string stage(const std::string& ways) {
    return ways.empty() ? "" : element("li", element("ul", ways));
}

std::string gemPortRemark(const DeviceState& state, const Service& service, const virtual_onu::GemPort& port) {
    std::string text = vlanList(vlansOnGemPort(service, port.index), kMaxVlanListLength);
    return text + (text.empty() ? "" : " → ") + tcontWords(state, service, port).text();
}

// From the user to the PON, stage by stage; what lies side by side is below each other.
std::string chain(const DeviceState& state, const Service& service) {
    std::string users, anis, gemPorts;
    for (const ServiceEnd& end : service.unis)
        users += way({end.port, end.device}, "uni", vlanList(vlansAt(service, end), kMaxVlanListLength));
    for (const std::string& device : service.flowDevices) users += way({device}, "uni", "by a VLAN flow");
    for (const ServiceEnd& end : service.anis) anis += way({end.device, end.port}, "pon", "");
    for (const auto& port : state.gemPorts)
        if (service.gemIndexes.count(port.index) != 0)
            gemPorts += way({"GEM port " + std::to_string(port.portId)}, "pon", gemPortRemark(state, service, port));
    const std::string bridge = service.isBridge ? way({service.name}, "bridge", "") : "";
    return element("ol", stage(users) + stage(bridge) + stage(anis) + stage(gemPorts), "chain");
}

RowGroup ruleRows(const std::string& title, const std::vector<MergedRule>& rules) {
    RowGroup rows{title, {}};
    for (const MergedRule& rule : rules) {
        const RuleWords words = ruleWords(rule.device, rule.receive, rule.tags, rule.terms);
        rows.rows.push_back({escaped(rule.device + (rule.receive ? " receives" : " sends")), escaped(words.frames),
                             escaped(words.action + repetition(rule)), escaped(words.to), numbersOf(rule)});
    }
    return rows;
}

std::string tableOfRules(const std::vector<RowGroup>& groups) {
    return stackingTable({"where", "frames", "what happens", "goes to", "rule"}, groups, "rules");
}

std::string ruleTable(const DeviceState& state, const std::vector<MergedRule>& rules) {
    std::vector<MergedRule> upstream, downstream;
    for (const MergedRule& rule : rules) (isUpstream(state, rule) ? upstream : downstream).push_back(rule);
    const std::string table = tableOfRules({ruleRows("upstream", inFrameOrder(state, upstream, true)),
                                            ruleRows("downstream", inFrameOrder(state, downstream, false))});
    return table.empty() ? element("p", "no rules", "soft") : table;
}

// "br3  sid1.3 · GEM port 1001, VID 100 · 10 rules"
std::string serviceSummary(const DeviceState& state, const Service& service) {
    std::vector<std::string> users, parts;
    for (const ServiceEnd& end : service.unis) users.push_back(end.device.empty() ? end.port : end.device);
    users.insert(users.end(), service.flowDevices.begin(), service.flowDevices.end());
    if (!users.empty()) parts.push_back(joined(users, " "));
    for (const auto& port : state.gemPorts) {
        if (service.gemIndexes.count(port.index) == 0) continue;
        const std::string vlans = vlanList(vlansOnGemPort(service, port.index), kMaxVlanListLength);
        parts.push_back("GEM port " + std::to_string(port.portId) + (vlans.empty() ? "" : ", " + vlans));
    }
    parts.push_back(counted(service.rules.size(), "rule"));
    return element("b", escaped(service.name)) + " " + element("span", escaped(joined(parts, " · ")), "soft");
}

// The key lets a page that is open follow the service when others come and go.
std::string serviceCard(const DeviceState& state, const Service& service, bool open) {
    const std::string key = " data-key=\"" + escaped(service.name) + "\"";
    const std::string body = chain(state, service) + ruleTable(state, service.rules);
    if (open) return "<div class=\"card\"" + key + ">" + element("h3", escaped(service.name)) + body + "</div>\n";
    return "<details class=\"card folded\"" + key + ">" + element("summary", serviceSummary(state, service)) + body +
           "</details>\n";
}

// ---- GEM ports and T-CONTs ----

std::string gemPortTable(const DeviceState& state) {
    RowGroup ports;
    for (const auto& port : state.gemPorts)
        ports.rows.push_back(
            {std::to_string(port.portId), std::to_string(port.index), allocIdWords(port.allocId), gemPortWords(port)});
    return tableCard({"GEM port", "index", "alloc-id", "state"}, ports);
}

std::string tcontTable(const DeviceState& state) {
    RowGroup tconts;
    for (const auto& tcont : state.tconts) {
        if (tcont.allocId == kNoAllocId && tcont.queues.empty()) continue;
        std::string queues;
        for (const std::string& range : queueRanges(tcont.queues)) queues += chip(range, "pon");
        tconts.rows.push_back({std::to_string(tcont.index), allocIdWords(tcont.allocId), queues});
    }
    return tableCard({"T-CONT", "alloc-id", "queues"}, tconts);
}

// ---- bridges and devices ----

std::string bridgeTable(const DeviceState& state) {
    RowGroup bridges;
    for (const auto& bridge : state.bridges) {
        std::string members;
        for (const std::string& member : bridge.members()) members += code(member) + " ";
        const auto* device = state.device(bridge.name);
        bridges.rows.push_back({code(bridge.name), device != nullptr && device->up ? "up" : "down",
                                members.empty() ? element("span", "none", "soft") : members});
    }
    return tableCard({"bridge", "state", "members"}, bridges);
}

std::string learnedTable(const DeviceState& state) {
    RowGroup addresses;
    for (const auto& one : state.learned) addresses.rows.push_back({code(one.bridge), code(one.mac), code(one.port)});
    return tableCard({"bridge", "learned address", "behind"}, addresses);
}

std::string deviceTable(const DeviceState& state, const DeviceState& newBoard) {
    RowGroup devices;
    for (const auto& device : state.devices) {
        const auto* before = newBoard.device(device.name);
        if (before != nullptr && before->up == device.up && before->addresses == device.addresses) continue;
        if (device.isBridge && device.addresses.empty()) continue;
        std::string remarks = device.routed ? "routed " : "";
        for (const std::string& address : device.addresses) remarks += address + " ";
        devices.rows.push_back({code(device.name), device.up ? "up" : "down",
                                device.realDevice.empty() ? "" : code(device.realDevice),
                                device.master.empty() ? "" : code(device.master), escaped(remarks)});
    }
    return tableCard({"device", "state", "on", "bridge", "remarks"}, devices);
}

// What happens to frames that no rule takes, where there is anything to say.
std::string defaultTable(const DeviceState& state) {
    std::map<std::string, std::string> byDevice;  // "sid0 receives": "dropped"
    for (const TableState& one : state.tables) {
        if (!one.defaultAction) continue;
        std::string& words = byDevice[one.device + (one.receive ? " receives" : " sends")];
        const std::string action = *one.defaultAction == "drop" ? "dropped" : "passed to " + *one.defaultAction;
        if (words.find(action) == std::string::npos) words += (words.empty() ? "" : ", ") + action;
    }
    std::map<std::string, std::string> byAction;
    for (const auto& [where, action] : byDevice) byAction[action] += (byAction[action].empty() ? "" : ", ") + where;
    RowGroup actions;
    for (const auto& [action, where] : byAction) actions.rows.push_back({escaped(action), escaped(where)});
    const std::string text = stackingTable({"frames that no rule takes are", "where"}, {actions}, "defaults");
    return text.empty() ? "" : card(text);
}

std::string list(const std::string& title, const std::vector<std::string>& lines) {
    if (lines.empty()) return "";
    std::string items;
    for (const std::string& line : lines) items += element("li", escaped(line), "mono");
    return card(element("h3", escaped(title)) + element("ul", items, "plain"));
}

}  // namespace

std::string ruleTable(const std::vector<MergedRule>& rules) {
    return tableOfRules({ruleRows("", rules)});
}

std::string servicesPart(const DeviceState& state) {
    std::string body;
    const std::vector<Service> all = servicesOf(state);
    for (const Service& service : all) body += serviceCard(state, service, all.size() <= kMaxOpenServices);
    const std::vector<MergedRule> others = otherRules(state, all);
    if (!others.empty()) body += card(element("h3", "Rules of no service") + ruleTable(state, others));
    return body + defaultTable(state);
}

std::string ponPart(const DeviceState& state) {
    const std::string link = linkWords(state);
    return gemPortTable(state) + tcontTable(state) +
           (link.empty() ? "" : card(element("h3", "PON link") + element("p", escaped(link), "last")));
}

std::string tapsPart(const DeviceState& state) {
    RowGroup rows;
    for (const TapState& tap : state.taps)
        rows.rows.push_back({escaped(tap.port), code(tap.interface), tap.linkUp ? "up" : "down",
                             std::to_string(tap.framesIn), std::to_string(tap.framesOut),
                             std::to_string(tap.lostIn + tap.lostOut), escaped(tapWords(tap))});
    return tableCard({"port", "TAP", "link", "frames in", "frames out", "lost", ""}, rows);
}

std::string devicesPart(const DeviceState& state, const DeviceState& newBoard) {
    return bridgeTable(state) + learnedTable(state) + deviceTable(state, newBoard);
}

std::string listsPart(const DeviceState& state) {
    std::vector<std::string> routing;
    for (const auto& rule : state.ipRules) routing.push_back("rule: " + rule);
    for (const auto& route : state.ipRoutes) routing.push_back("route: " + route);
    std::vector<std::string> flows;
    for (const auto& [from, to] : state.flows) flows.push_back(from + " → " + to);
    return list("Messages to the gateway", state.messages) + list("VLAN flows", flows) +
           list("Runner objects", state.runnerObjects) + list("Ingress queue keys", state.ingressKeys) +
           list("Policy routing", routing) + list("Armed faults", state.armedFaults);
}

}  // namespace vorn_onu
