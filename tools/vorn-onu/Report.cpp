#include "Report.h"

#include <algorithm>

#include "ReportStyle.h"
#include "RuleWords.h"
#include "Services.h"
#include "WalkWords.h"

namespace vorn_onu {

namespace {

constexpr unsigned kNoAllocId = 65535;

std::string element(const std::string& tag, const std::string& content, const std::string& classes = "") {
    return "<" + tag + (classes.empty() ? "" : " class=\"" + classes + "\"") + ">" + content + "</" +
           tag.substr(0, tag.find(' ')) + ">";
}

std::string code(const std::string& text) {
    return element("code", escaped(text));
}

std::string row(const std::vector<std::string>& cells, const char* tag = "td") {
    std::string text;
    for (const std::string& cell : cells) text += element(tag, cell);
    return element("tr", text) + "\n";
}

std::string table(const std::vector<std::string>& heads, const std::string& rows, const std::string& classes = "") {
    const std::string head = heads.empty() ? "" : element("thead", row(heads, "th"));
    return element("div", element("table", head + element("tbody", rows), classes), "scroll");
}

std::string section(const std::string& title, const std::string& body) {
    return body.empty() ? "" : element("h2", escaped(title)) + "\n" + body + "\n";
}

std::string card(const std::string& body) {
    return element("div", body, "card") + "\n";
}

// ---- head ----

std::string fact(std::size_t number, const std::string& what, const std::string& classes = "") {
    return element("li", element("b", std::to_string(number)) + element("span", escaped(what)), classes);
}

bool isCheck(const ReportStep& step) {
    return step.kind == "expect" || step.kind == "frame";
}

std::string facts(const ReportInput& input) {
    const auto checks =
        std::count_if(input.steps.begin(), input.steps.end(), [](const auto& step) { return isCheck(step); });
    const auto wrong =
        std::count_if(input.steps.begin(), input.steps.end(), [](const auto& step) { return !step.passed; });
    std::string items;
    if (wrong > 0)
        items += fact(static_cast<std::size_t>(wrong), "not as expected", "bad");
    else if (checks > 0)
        items += fact(static_cast<std::size_t>(checks), "checks passed", "good");
    items += fact(input.state.bridges.size(), "bridges") + fact(input.state.ruleCount(), "tag rules") +
             fact(input.state.gemPorts.size(), "GEM ports");
    if (!input.walks.empty()) items += fact(input.walks.size(), "frames followed");
    items += fact(input.state.calls, "calls into the device");
    return element("ul", items, "facts");
}

std::string head(const ReportInput& input) {
    std::string body = element("div", escaped(input.source), "source") + element("h1", escaped(input.title));
    if (!input.description.empty()) body += element("p", escaped(input.description));
    return element("header", body + facts(input)) + "\n";
}

// ---- warnings ----

bool sameTable(const MergedRule& one, const MergedRule& other) {
    return one.device == other.device && one.receive == other.receive;
}

// The terms that choose frames: what an earlier rule must not be wider than.
std::set<std::string> filtersOf(const MergedRule& rule) {
    std::set<std::string> filters;
    for (const std::string& term : rule.terms)
        if (term.find(":=") == std::string::npos && term.find('=') != std::string::npos &&
            term.compare(0, 6, "rxdev=") != 0)
            filters.insert(term);
    return filters;
}

// A rule that no frame reaches: in every table that it stands in, an earlier rule takes all that it would take.
std::vector<std::string> unreachableRules(const DeviceState& state) {
    std::vector<std::string> found;
    for (const TableState& tableState : state.tables) {
        std::vector<MergedRule> earlier;
        for (const RuleState& rule : tableState.rules) {
            const MergedRule self{tableState.device, tableState.receive, {tableState.tags}, rule.terms};
            const auto own = filtersOf(self);
            const bool hidden = std::any_of(earlier.begin(), earlier.end(), [&](const MergedRule& before) {
                const auto wider = filtersOf(before);
                return sameTable(before, self) && std::includes(own.begin(), own.end(), wider.begin(), wider.end());
            });
            if (hidden)
                found.push_back(ruleWords(self.device, self.receive, self.tags, self.terms).sentence() + " (" +
                                tableState.device + ", table for " + std::to_string(tableState.tags) + " tags)");
            earlier.push_back(self);
        }
    }
    return found;
}

std::string warning(const std::string& what, const std::vector<std::string>& lines) {
    if (lines.empty()) return "";
    std::string items;
    for (const std::string& line : lines) items += element("li", escaped(line));
    return element("div", element("b", escaped(what)) + element("ul", items), "warn") + "\n";
}

std::string warnings(const DeviceState& state) {
    std::vector<std::string> failed;
    for (const FailedCall& call : state.failedCalls) failed.push_back(call.text);
    return section(
        "Warnings",
        warning("Shell commands that the virtual ONU does not understand", state.strangeCommands) +
            warning("Calls into the device kit that failed", failed) +
            warning("Rules that no frame can reach: an earlier rule takes all of theirs", unreachableRules(state)));
}

// ---- steps ----

std::string stepItem(const ReportStep& step) {
    std::string body = element("span", escaped(step.words), "");
    if (!step.note.empty()) body = element("div", escaped(step.note), "note") + (step.words == step.note ? "" : body);
    if (!step.answer.empty()) body += " <span class=\"soft\">answers " + escaped(step.answer) + "</span>";
    if (!step.effects.empty()) body += "<div class=\"soft mono\">" + escaped(step.effects) + "</div>";
    for (const std::string& failure : step.failures) body += element("div", escaped(failure), "fail mono");
    const std::string mark = step.passed ? element("span", "✓", "ok") : element("span", "✗", "no");
    return element("li", mark + element("div", body)) + "\n";
}

std::string steps(const ReportInput& input) {
    if (input.steps.empty()) return "";
    std::string items;
    for (const ReportStep& step : input.steps) items += stepItem(step);
    return section("Steps", card("<ol class=\"steps\">\n" + items + "</ol>"));
}

// ---- what stands on the device ----

std::string picture(const DeviceState& state) {
    const std::string svg = topologyPicture(state);
    return svg.empty() ? "" : section("The device by service", card(element("div", svg, "scroll")));
}

std::string chips(const std::vector<ServiceEnd>& ends, const char* kind) {
    std::string text;
    for (const ServiceEnd& end : ends)
        text += element("span", escaped(end.device.empty() ? end.port : end.device), std::string("chip ") + kind);
    return text;
}

std::string ruleRows(const std::vector<MergedRule>& rules) {
    std::string rows;
    for (const MergedRule& rule : rules) {
        const RuleWords words = ruleWords(rule.device, rule.receive, rule.tags, rule.terms);
        rows += row({escaped(rule.device + (rule.receive ? " receives" : " sends")), escaped(words.frames),
                     escaped(words.action), escaped(words.to)});
    }
    return rows;
}

std::string serviceCard(const Service& service) {
    const std::string title = element("h3", escaped(service.name)) + chips(service.unis, "uni") +
                              (service.isBridge ? element("span", escaped(service.name), "chip bridge") : "") +
                              chips(service.anis, "pon");
    const std::string rows = ruleRows(service.rules);
    const std::string body =
        rows.empty() ? element("p", "no rules", "soft") : table({"where", "frames", "what happens", "goes to"}, rows);
    return card(title + body);
}

std::string services(const DeviceState& state) {
    std::string body;
    const std::vector<Service> all = servicesOf(state);
    for (const Service& service : all) body += serviceCard(service);
    const std::vector<MergedRule> others = otherRules(state, all);
    if (!others.empty())
        body += card(element("h3", "Rules of no service") +
                     table({"where", "frames", "what happens", "goes to"}, ruleRows(others)));
    return section("Services and their rules", body);
}

std::string bridges(const DeviceState& state) {
    std::string rows;
    for (const auto& bridge : state.bridges) {
        std::string members;
        for (const std::string& member : bridge.members()) members += code(member) + " ";
        const auto* device = state.device(bridge.name);
        rows += row({code(bridge.name), device != nullptr && device->up ? "up" : "down",
                     members.empty() ? "<span class=\"soft\">none</span>" : members});
    }
    return rows.empty() ? "" : section("Bridges", card(table({"bridge", "state", "members"}, rows)));
}

std::string devices(const ReportInput& input) {
    std::string rows;
    for (const auto& device : input.state.devices) {
        const auto* before = input.newBoard.device(device.name);
        if (before != nullptr && before->up == device.up && before->addresses == device.addresses) continue;
        std::string remarks = device.routed ? "routed " : "";
        for (const std::string& address : device.addresses) remarks += address + " ";
        rows +=
            row({code(device.name), device.up ? "up" : "down", device.realDevice.empty() ? "" : code(device.realDevice),
                 device.master.empty() ? "" : code(device.master), escaped(remarks)});
    }
    return rows.empty() ? "" : section("Devices", card(table({"device", "state", "on", "bridge", ""}, rows)));
}

std::string queueWords(const virtual_onu::Queue& queue) {
    const std::string how =
        queue.schedMode == 2 ? "weighted " + std::to_string(queue.weight) : "strict " + std::to_string(queue.priority);
    return std::to_string(queue.id) + ": " + how + ", " + std::to_string(queue.size) + " packets";
}

std::string pon(const DeviceState& state) {
    std::string ports;
    for (const auto& port : state.gemPorts)
        ports += row({std::to_string(port.portId), std::to_string(port.index),
                      port.allocId == kNoAllocId ? "" : std::to_string(port.allocId),
                      std::string(port.enabled ? "up" : "down") + (port.downstreamOnly ? ", downstream only" : "")});
    std::string tconts;
    for (const auto& tcont : state.tconts) {
        if (tcont.allocId == kNoAllocId && tcont.queues.empty()) continue;
        std::string queues;
        for (const auto& queue : tcont.queues) queues += element("span", escaped(queueWords(queue)), "chip pon");
        tconts += row({std::to_string(tcont.index),
                       tcont.allocId == kNoAllocId ? "none" : std::to_string(tcont.allocId), queues});
    }
    std::string body;
    if (!ports.empty()) body += card(table({"GEM port", "index", "alloc-id", "state"}, ports));
    if (!tconts.empty()) body += card(table({"T-CONT", "alloc-id", "queues"}, tconts));
    return section("GEM ports and T-CONTs", body);
}

std::string list(const std::string& title, const std::vector<std::string>& lines) {
    std::string rows;
    for (const std::string& line : lines) rows += row({element("span", escaped(line), "mono")});
    return rows.empty() ? "" : section(title, card(table({}, rows)));
}

// ---- frames ----

std::string hopRows(const virtual_onu::Walk& walk) {
    std::string rows;
    for (const HopWords& hop : hopWords(walk)) {
        const std::string indent =
            hop.branch > 0 ? " style=\"padding-left:" + std::to_string(14 * hop.branch) + "px\"" : "";
        rows += "<tr><td" + indent + ">" + escaped(hop.where) + "</td><td>" + escaped(hop.what) + "</td><td>" +
                escaped(hop.to) + "</td><td>" + escaped(hop.frame) + "</td></tr>\n";
    }
    return rows;
}

std::string walkCard(const ReportWalk& walk) {
    const char* mood = !walk.passed ? "verdict wrong" : !walk.walk.exits.empty() ? "verdict out" : "verdict drop";
    std::string body = element("h3", escaped(walk.title)) + element("p", escaped(walk.verdict), mood);
    const std::string rows = hopRows(walk.walk);
    if (!rows.empty()) body += table({"where", "what", "goes to", "the frame then"}, rows, "hop");
    return card(body);
}

std::string walks(const ReportInput& input) {
    std::string body;
    for (const ReportWalk& walk : input.walks) body += walkCard(walk);
    return section("Frames, hop by hop", body);
}

}  // namespace

std::string escaped(const std::string& text) {
    std::string safe;
    for (const char c : text) {
        switch (c) {
            case '&':
                safe += "&amp;";
                break;
            case '<':
                safe += "&lt;";
                break;
            case '>':
                safe += "&gt;";
                break;
            case '"':
                safe += "&quot;";
                break;
            case '\'':
                safe += "&#39;";
                break;
            default:
                safe += c;
        }
    }
    return safe;
}

std::string htmlReport(const ReportInput& input) {
    const std::string body = head(input) + warnings(input.state) + picture(input.state) + walks(input) + steps(input) +
                             services(input.state) + pon(input.state) + bridges(input.state) + devices(input) +
                             list("Runner objects", input.state.runnerObjects) +
                             list("Ingress queue keys", input.state.ingressKeys) +
                             list("Messages to the gateway", input.state.messages);
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<meta name=\"viewport\" "
           "content=\"width=device-width, initial-scale=1\">\n<title>" +
           escaped(input.title) + "</title>\n<style>" + kReportStyle + "</style>\n</head>\n<body>\n<main>\n" + body +
           "</main>\n</body>\n</html>\n";
}

}  // namespace vorn_onu
