// The parts of the report that show what stands on the device.
#include <algorithm>
#include <map>

#include "show/Html.h"
#include "show/Report.h"
#include "state/PonWords.h"
#include "state/RuleWords.h"
#include "state/Services.h"

namespace vorn_onu {

namespace {

using namespace html;

// ---- services and their rules ----

std::string chain(const DeviceState& state, const Service& service) {
    std::string text;
    const auto add = [&text](const std::string& name, const char* kind) {
        if (!name.empty()) text += chip(name, kind);
    };
    for (const ServiceEnd& end : service.unis) {
        add(end.port, "uni");
        add(end.device, "uni");
    }
    if (service.isBridge) add(service.name, "bridge");
    for (const ServiceEnd& end : service.anis) {
        add(end.device, "pon");
        add(end.port, "pon");
    }
    for (const auto& port : state.gemPorts)
        if (service.gemIndexes.count(port.index) != 0) add("GEM port " + std::to_string(port.portId), "pon");
    return element("div", text, "chain");
}

std::string ruleRows(const std::vector<MergedRule>& rules) {
    std::string rows;
    for (const MergedRule& rule : rules) {
        const RuleWords words = ruleWords(rule.device, rule.receive, rule.tags, rule.terms);
        rows += row({escaped(rule.device + (rule.receive ? " receives" : " sends")), escaped(words.frames),
                     escaped(words.action + repetition(rule)), escaped(words.to)});
    }
    return rows;
}

std::string ruleTable(const DeviceState& state, const std::vector<MergedRule>& rules) {
    std::vector<MergedRule> upstream, downstream;
    for (const MergedRule& rule : rules) (isUpstream(state, rule) ? upstream : downstream).push_back(rule);
    std::string rows;
    const auto add = [&rows](const char* title, const std::vector<MergedRule>& some) {
        if (!some.empty())
            rows += "<tr class=\"way\"><td colspan=\"4\">" + std::string(title) + "</td></tr>\n" + ruleRows(some);
    };
    add("upstream", inFrameOrder(state, upstream, true));
    add("downstream", inFrameOrder(state, downstream, false));
    return rows.empty() ? element("p", "no rules", "soft")
                        : table({"where", "frames", "what happens", "goes to"}, rows, "rules");
}

// ---- GEM ports and T-CONTs ----

std::string gemPortTable(const DeviceState& state) {
    std::string rows;
    for (const auto& port : state.gemPorts)
        rows += row(
            {std::to_string(port.portId), std::to_string(port.index), allocIdWords(port.allocId), gemPortWords(port)});
    return rows.empty() ? "" : card(table({"GEM port", "index", "alloc-id", "state"}, rows));
}

std::string tcontTable(const DeviceState& state) {
    std::string rows;
    for (const auto& tcont : state.tconts) {
        if (tcont.allocId == kNoAllocId && tcont.queues.empty()) continue;
        std::string queues;
        for (const std::string& range : queueRanges(tcont.queues)) queues += chip(range, "pon");
        rows += row({std::to_string(tcont.index), allocIdWords(tcont.allocId), queues});
    }
    return rows.empty() ? "" : card(table({"T-CONT", "alloc-id", "queues"}, rows));
}

// ---- bridges and devices ----

std::string bridgeTable(const DeviceState& state) {
    std::string rows;
    for (const auto& bridge : state.bridges) {
        std::string members;
        for (const std::string& member : bridge.members()) members += code(member) + " ";
        const auto* device = state.device(bridge.name);
        rows += row({code(bridge.name), device != nullptr && device->up ? "up" : "down",
                     members.empty() ? element("span", "none", "soft") : members});
    }
    return rows.empty() ? "" : card(table({"bridge", "state", "members"}, rows));
}

std::string deviceTable(const DeviceState& state, const DeviceState& newBoard) {
    std::string rows;
    for (const auto& device : state.devices) {
        const auto* before = newBoard.device(device.name);
        if (before != nullptr && before->up == device.up && before->addresses == device.addresses) continue;
        if (device.isBridge && device.addresses.empty()) continue;
        std::string remarks = device.routed ? "routed " : "";
        for (const std::string& address : device.addresses) remarks += address + " ";
        rows +=
            row({code(device.name), device.up ? "up" : "down", device.realDevice.empty() ? "" : code(device.realDevice),
                 device.master.empty() ? "" : code(device.master), escaped(remarks)});
    }
    return rows.empty() ? "" : card(table({"device", "state", "on", "bridge", ""}, rows));
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
    std::string rows;
    for (const auto& [action, where] : byAction) rows += row({escaped(action), escaped(where)});
    return rows.empty() ? "" : card(table({"frames that no rule takes are", "where"}, rows));
}

std::string list(const std::string& title, const std::vector<std::string>& lines) {
    if (lines.empty()) return "";
    std::string items;
    for (const std::string& line : lines) items += element("li", escaped(line), "mono");
    return card(element("h3", escaped(title)) + element("ul", items, "plain"));
}

}  // namespace

std::string servicesPart(const DeviceState& state) {
    std::string body;
    const std::vector<Service> all = servicesOf(state);
    for (const Service& service : all)
        body += card(element("h3", escaped(service.name)) + chain(state, service) + ruleTable(state, service.rules));
    const std::vector<MergedRule> others = otherRules(state, all);
    if (!others.empty()) body += card(element("h3", "Rules of no service") + ruleTable(state, others));
    return body + defaultTable(state);
}

std::string ponPart(const DeviceState& state) {
    return gemPortTable(state) + tcontTable(state);
}

std::string devicesPart(const DeviceState& state, const DeviceState& newBoard) {
    return bridgeTable(state) + deviceTable(state, newBoard);
}

std::string listsPart(const DeviceState& state) {
    std::vector<std::string> routing;
    for (const auto& rule : state.ipRules) routing.push_back("rule: " + rule);
    for (const auto& route : state.ipRoutes) routing.push_back("route: " + route);
    std::vector<std::string> flows;
    for (const auto& [from, to] : state.flows) flows.push_back(from + " → " + to);
    return list("Messages to the gateway", state.messages) + list("VLAN flows", flows) +
           list("Runner objects", state.runnerObjects) + list("Ingress queue keys", state.ingressKeys) +
           list("Policy routing", routing);
}

}  // namespace vorn_onu
