#include "show/Report.h"

#include <algorithm>

#include "show/Html.h"
#include "show/ReportStyle.h"
#include "state/RuleReach.h"
#include "state/WalkWords.h"

namespace vorn_onu {

namespace {

using namespace html;

constexpr std::size_t kMostOpenWalks = 6;  // more frames than these are folded up, but for the wrong ones

// ---- head ----

std::string fact(std::size_t number, const std::string& what, const std::string& classes = "") {
    return element("li", element("b", std::to_string(number)) + element("span", escaped(what)), classes);
}

std::size_t wrongSteps(const ReportInput& input) {
    return static_cast<std::size_t>(
        std::count_if(input.steps.begin(), input.steps.end(), [](const auto& step) { return !step.passed; }));
}

std::string facts(const ReportInput& input) {
    const auto checks = std::count_if(input.steps.begin(), input.steps.end(), [](const ReportStep& step) {
        return step.kind == "expect" || step.kind == "frame";
    });
    std::string items;
    if (const std::size_t wrong = wrongSteps(input); wrong > 0)
        items += fact(wrong, wrong == 1 ? "step not as expected" : "steps not as expected", "bad");
    else if (checks > 0)
        items += fact(static_cast<std::size_t>(checks), checks == 1 ? "check passed" : "checks passed", "good");
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

std::string warning(const std::string& what, const std::vector<std::string>& lines) {
    if (lines.empty()) return "";
    std::string items;
    for (const std::string& line : lines) items += element("li", escaped(line));
    return element("div", element("b", escaped(what)) + element("ul", items), "warn") + "\n";
}

std::string warnings(const DeviceState& state) {
    std::vector<std::string> failed;
    for (const FailedCall& call : state.failedCalls) failed.push_back(call.text);
    return warning("Shell commands that the virtual ONU does not understand", state.strangeCommands) +
           warning("Calls into the device kit that failed", failed) +
           warning("Rules that no frame can reach", unreachableRules(state));
}

// ---- what stands on the device ----

std::string picture(const ReportInput& input) {
    const std::string svg = topologyPicture(input.state);
    if (svg.empty()) return "";
    const std::string when = input.moment.empty() ? "As it stands at the end of the run."
                                                  : "As it stood " + input.moment +
                                                        ", the moment with most on it; later steps take it back.";
    return element("p", escaped(when), "soft") + card(element("div", svg, "scroll"));
}

// ---- frames ----

std::string hopRows(const virtual_onu::Walk& walk) {
    std::string rows;
    for (const HopWords& hop : hopWords(walk)) {
        std::string indent;
        for (unsigned i = 0; i < hop.branch; ++i) indent += element("span", "", "in");
        rows += row({indent + escaped(hop.where), escaped(hop.what), escaped(hop.to), escaped(hop.frame)});
    }
    return rows;
}

std::string walkCard(const ReportWalk& walk, bool open) {
    const char* mood = !walk.passed ? "wrong" : !walk.walk.exits.empty() ? "out" : "drop";
    const std::string mark = walk.passed ? element("span", "✓", "ok") : element("span", "✗", "no");
    std::string summary = mark + " " + element("b", escaped(walk.title)) +
                          element("span", escaped(walk.verdict), std::string("verdict ") + mood);
    for (const std::string& line : walk.expected) summary += element("span", escaped("expected: " + line), "why");
    if (!walk.note.empty()) summary += element("span", escaped(walk.note), "why");
    const std::string rows = hopRows(walk.walk);
    const std::string body = rows.empty() ? element("p", "before any look-up", "soft")
                                          : table({"where", "what", "goes to", "the frame then"}, rows, "hop");
    return details(summary, body, open || !walk.passed, "card walk");
}

std::string frames(const ReportInput& input) {
    std::string body;
    for (const ReportWalk& walk : input.walks) body += walkCard(walk, input.walks.size() <= kMostOpenWalks);
    return body;
}

// ---- steps ----

std::string stepItem(const ReportStep& step) {
    if (step.kind == "note") return element("li", escaped(step.note), "heading") + "\n";
    if (step.kind == "show") return element("li", escaped(step.words), "heading") + "\n";
    std::string body = element("span", escaped(step.name.empty() ? step.kind : step.name), "name") + " " +
                       element("span", escaped(step.words), "args");
    if (!step.answer.empty()) body += " <span class=\"answer\">= " + escaped(step.answer) + "</span>";
    if (!step.note.empty()) body += element("div", escaped(step.note), "note");
    if (!step.effects.empty()) body += element("div", "→ " + escaped(step.effects), "effects");
    for (const std::string& failure : step.failures) body += element("div", escaped(failure), "fail mono");
    const std::string mark = step.passed ? element("span", "✓", "ok") : element("span", "✗", "no");
    return element("li", mark + element("span", std::to_string(step.number), "number") + element("div", body)) + "\n";
}

std::string steps(const ReportInput& input) {
    if (input.steps.empty()) return "";
    std::string items;
    for (const ReportStep& step : input.steps) items += stepItem(step);
    return card("<ol class=\"steps\">\n" + items + "</ol>");
}

struct Part {
    const char* title;
    std::string body;
};

std::string contents(const std::vector<Part>& parts) {
    std::string links;
    for (const Part& part : parts)
        if (!part.body.empty()) links += "<a href=\"#" + anchorOf(part.title) + "\">" + escaped(part.title) + "</a>\n";
    return element("nav", links) + "\n";
}

}  // namespace

std::string htmlReport(const ReportInput& input) {
    const std::vector<Part> parts = {{"Warnings", warnings(input.state)},
                                     {"The device by service", picture(input)},
                                     {"Services and their rules", servicesPart(input.state)},
                                     {"Frames, hop by hop", frames(input)},
                                     {"Steps", steps(input)},
                                     {"GEM ports and T-CONTs", ponPart(input.state)},
                                     {"Bridges and devices", devicesPart(input.state, input.newBoard)},
                                     {"Runner, routing, messages", listsPart(input.state)}};
    std::string body = head(input) + contents(parts);
    for (const Part& part : parts) body += section(part.title, part.body);
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<meta name=\"viewport\" "
           "content=\"width=device-width, initial-scale=1\">\n<title>" +
           escaped(input.title) + "</title>\n<style>" + kReportStyle + "</style>\n</head>\n<body>\n<main>\n" + body +
           "</main>\n</body>\n</html>\n";
}

}  // namespace vorn_onu
