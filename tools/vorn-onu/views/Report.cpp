#include "views/Report.h"

#include <algorithm>

#include "running/io/Words.h"
#include "running/state/FailedCalls.h"
#include "running/state/RuleReach.h"
#include "views/Html.h"
#include "views/ReportStyle.h"

namespace vorn_onu {

namespace {

using namespace html;

constexpr std::size_t kMaxOpenWalks = 6;      // more frames than these are folded up, but for the wrong ones
constexpr std::size_t kMaxOpenWarnings = 12;  // of a kind; the others are folded up

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

// items: as HTML.
std::string warning(const std::string& what, const std::vector<std::string>& items) {
    if (items.empty()) return "";
    std::string shown, rest;
    for (std::size_t i = 0; i < items.size(); ++i) (i < kMaxOpenWarnings ? shown : rest) += element("li", items[i]);
    if (!rest.empty())
        rest = details("and " + std::to_string(items.size() - kMaxOpenWarnings) + " more", element("ul", rest), false);
    return element("div", element("h3", escaped(what)) + element("ul", shown) + rest, "warn") + "\n";
}

std::vector<std::string> allEscaped(const std::vector<std::string>& lines) {
    std::vector<std::string> safe;
    for (const std::string& line : lines) safe.push_back(escaped(line));
    return safe;
}

std::vector<std::string> failedCalls(const ReportInput& input) {
    std::vector<RunStep> steps;
    for (const ReportStep& step : input.steps)
        steps.push_back(
            {step.number, step.kind, step.name.empty() ? step.kind : step.name, step.words, step.lastTraceEntry});
    std::vector<std::string> items;
    for (const FailedCallWords& call : failedCallWords(input.state.failedCalls, steps)) {
        std::string text = element("span", escaped(call.call), "mono") + " " + escaped(call.answer);
        if (call.inStep > 0) text += ", " + link(stepAnchor(call.inStep), call.step);
        if (!call.cause.empty()) text += ": " + escaped(call.cause);
        items.push_back(text);
    }
    return items;
}

// ---- what is on the device ----

// What the colours and lines of the picture mean. A line that no part of it has is left out.
std::string pictureLegend(const std::string& svg) {
    std::string items = element("li", "towards the user", "uni") + element("li", "bridge", "bridge") +
                        element("li", "towards the PON", "pon");
    if (svg.find(" off\"") != std::string::npos) items += element("li", "is down", "down");
    if (svg.find("\"flow\"") != std::string::npos) items += element("li", "VLAN flow past the bridge", "short");
    return element("ul", items, "legend");
}

std::string picture(const ReportInput& input) {
    const std::string body = picturePart(input.state);
    const std::string when =
        input.moment.empty() ? "As it is at the end of the run."
                             : "As it was " + input.moment + ", the moment with most on it; later steps take it back.";
    return body.empty() ? "" : element("p", escaped(when), "soft") + body;
}

// ---- frames ----

std::string walkCard(const ReportWalk& walk, bool open, const std::string& stepNoun) {
    const char* mood = !walk.passed ? "wrong" : !walk.walk.exits.empty() ? "out" : "drop";
    std::string summary = mark(walk.passed) + " " + element("b", escaped(walk.title)) +
                          element("span", escaped(walk.verdict), std::string("verdict ") + mood);
    for (const std::string& line : walk.expected) summary += element("span", escaped("expected: " + line), "why");
    if (!walk.note.empty()) summary += element("span", escaped(walk.note), "why");
    const std::string hops = hopTable(hopWords(walk.walk), walk.origins, stepNoun);
    return details(summary, hops.empty() ? element("p", "before any look-up", "soft") : hops, open || !walk.passed,
                   "card walk");
}

std::string frames(const ReportInput& input) {
    if (input.walks.empty()) return "";
    std::string body = element("ul",
                               element("li", "leaves the device", "out") + element("li", "is dropped", "drop") +
                                   element("li", "fares otherwise than expected", "wrong"),
                               "legend words");
    const std::string stepNoun = input.messages.empty() ? "step" : "call";
    for (const ReportWalk& walk : input.walks) body += walkCard(walk, input.walks.size() <= kMaxOpenWalks, stepNoun);
    return body;
}

// ---- steps ----

// What the step asked for, and below it the rules that it became.
std::string rulesOf(const ReportStep& step) {
    if (step.rules.empty()) return step.asked.empty() ? "" : element("div", escaped(step.asked), "note");
    const std::string count = std::to_string(step.rules.size()) + (step.rules.size() == 1 ? " rule" : " rules");
    return details(element("span", escaped(step.asked.empty() ? count : step.asked + ": " + count)),
                   ruleTable(step.rules), false);
}

std::string stepItem(const ReportStep& step) {
    if (step.kind == "note") return element("li", element("h3", escaped(step.note)), "heading") + "\n";
    if (step.kind == "show") return element("li", element("h3", escaped(step.words)), "heading") + "\n";
    std::string body = element("span", escaped(step.name.empty() ? step.kind : step.name), "name") + " " +
                       element("span", escaped(step.words), "args");
    if (!step.answer.empty()) body += " <span class=\"answer\">= " + escaped(step.answer) + "</span>";
    if (!step.note.empty()) body += element("div", escaped(step.note), "note");
    if (!step.messages.empty()) {
        std::string links;
        for (const std::size_t message : step.messages)
            links += (links.empty() ? "" : ", ") + link(messageAnchor(message), std::to_string(message));
        body +=
            element("div", std::string(step.messages.size() == 1 ? "from message " : "from messages ") + links, "note");
    }
    if (!step.effects.empty()) body += element("div", "→ " + escaped(step.effects), "effects");
    body += rulesOf(step);
    for (const std::string& failure : step.failures) body += element("div", escaped(failure), "fail mono");
    return "<li id=\"" + stepAnchor(step.number) + "\">" + mark(step.passed) +
           element("span", std::to_string(step.number), "number") + element("div", body) + "</li>\n";
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
        if (!part.body.empty()) links += link(anchorOf(part.title), part.title) + "\n";
    return "<nav aria-label=\"Contents\">" + links + "</nav>\n";
}

}  // namespace

std::string warningsPart(const ReportInput& input) {
    return warning("Shell commands that the virtual ONU does not understand", allEscaped(input.state.strangeCommands)) +
           warning("Calls into the device kit that failed", failedCalls(input)) +
           warning("Rules that no frame can reach", allEscaped(withoutLikes(unreachableRules(input.state))));
}

std::string picturePart(const DeviceState& state) {
    const std::string svg = topologyPicture(state);
    if (svg.empty()) return "";
    return card(
        element("p", "The picture is wider than this page: push it sideways.", "soft wide") +
        "<div class=\"scroll\" role=\"region\" aria-label=\"Picture of the device by service\" tabindex=\"0\">" + svg +
        "</div>\n" + pictureLegend(svg));
}

std::string hopTable(const std::vector<HopWords>& way, const std::vector<std::size_t>& origins,
                     const std::string& stepNoun) {
    RowGroup hops;
    for (const HopWords& hop : way) {
        const std::string tree = hop.tree.empty() ? "" : element("span", escaped(hop.tree), "tree");
        std::string what = escaped(hop.what);
        if (const std::size_t step = hop.place < origins.size() ? origins[hop.place] : 0; step != 0)
            what += " " + element("small", link(stepAnchor(step), stepNoun + " " + std::to_string(step)));
        if (!hop.fate.empty()) what += element("div", escaped(hop.fate), hop.dropped ? "drop" : "out");
        hops.rows.push_back({tree + escaped(hop.where), what, escaped(hop.to), escaped(hop.frame)});
    }
    return stackingTable({"where", "what", "goes to", "the frame then"}, {hops}, "hop");
}

std::string htmlReport(const ReportInput& input) {
    const std::vector<Part> parts = {{"Warnings", warningsPart(input)},
                                     {"The device by service", picture(input)},
                                     {"Services and their rules", servicesPart(input.state)},
                                     {"Frames, hop by hop", frames(input)},
                                     {"The device beside the standard", input.audit},
                                     {"Messages", messagesPart(input.messages)},
                                     {input.messages.empty() ? "Steps" : "Calls of the HAL", steps(input)},
                                     {"GEM ports and T-CONTs", ponPart(input.state)},
                                     {"Real packets", tapsPart(input.state)},
                                     {"Bridges and devices", devicesPart(input.state, input.newBoard)},
                                     {"Runner, routing, messages", listsPart(input.state)}};
    std::string body = head(input) + contents(parts);
    for (const Part& part : parts) body += section(part.title, part.body);
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<meta name=\"viewport\" "
           "content=\"width=device-width, initial-scale=1\">\n<title>" +
           escaped(input.title) + "</title>\n<style>" + kReportStyle + pictureStyle() +
           "</style>\n</head>\n<body>\n<main>\n" + body + "</main>\n</body>\n</html>\n";
}

}  // namespace vorn_onu
