#include "views/AuditWords.h"

#include <nlohmann/json.hpp>

#include "running/io/Words.h"
#include "running/scenario/fields/FrameFields.h"
#include "views/Html.h"

namespace vorn_onu {

namespace {

constexpr std::size_t kAllTypes = 6;  // of payload that an audit tries

// "up, untagged, 6 frames"; the one payload where not all types are among them.
std::string framesWords(const audit::Group& group) {
    std::string text = std::string(group.upstream ? "up, " : "down, ") + group.kind;
    if (group.types.size() < kAllTypes) text += ", " + counted(group.types.size(), "type") + " of payload";
    return text + ", " + counted(group.frames, "frame");
}

std::string differenceWords(const audit::Group& group) {
    if (group.difference == "dropped") return "should pass and is dropped";
    if (group.difference == "passes") return "should not pass and does";
    if (group.difference == "tags") return "passes with other tags";
    if (group.difference == "GEM port") return "goes up on another GEM port";
    return "leaves in another number of copies";
}

std::string line(const Terminal& terminal, const std::string& name, const std::string& what) {
    constexpr std::size_t kIndent = 14;
    return "    " + terminal.dim(name) + std::string(10 - name.size(), ' ') + hanging(what, terminal.width(), kIndent) +
           "\n";
}

std::string deviceWords(const audit::Group& group) {
    return group.difference == "dropped" ? group.rule : group.device + "; " + group.rule;
}

std::string groupWords(const audit::Group& group, const std::string& command, const Terminal& terminal) {
    constexpr std::size_t kIndent = 4;
    const std::string mark = group.differs ? terminal.red("✗") : terminal.green("✓");
    std::string text = framesWords(group) + ": " + group.subject;
    if (group.differs)
        text += ": " + differenceWords(group);
    else
        text += ": " + group.standard;
    text = "  " + mark + " " + hanging(text, terminal.width(), kIndent) + "\n";
    if (!group.differs) return text;
    // A command is copied whole.
    return text + line(terminal, "standard", group.standard) + line(terminal, "device", deviceWords(group)) + "    " +
           terminal.dim("try") + "       " + sendLine(group, command) + "\n";
}

std::string summary(const audit::Result& result) {
    std::string text = counted(result.rows, "row") + ", " + counted(result.filters, "filter") + ", " +
                       counted(result.frames, "frame") + " tried: " + std::to_string(result.differing()) + " differ";
    if (result.open != 0) text += ", " + std::to_string(result.open) + " are left to the ONU by the standard";
    return text;
}

}  // namespace

std::string auditWords(const audit::Result& result, const std::string& command, const Terminal& terminal) {
    std::string text, port;
    for (const audit::Group& group : result.groups) {
        if (group.port != port) text += (port.empty() ? "" : "\n") + terminal.bold(group.port) + "\n";
        port = group.port;
        text += groupWords(group, command, terminal);
    }
    if (result.groups.empty()) text += "  No port has both tagging rows and filters on the PON side.\n";
    const bool same = result.differing() == 0;
    for (const std::string& one : result.notCovered) text += "  " + terminal.dim("not covered: " + one) + "\n";
    return text + "\n" + (same ? terminal.green("✓") : terminal.red("✗")) + " " +
           hanging(summary(result), terminal.width(), 2) + "\n";
}

Json auditJson(const audit::Result& result, const std::string& command) {
    Json groups = Json::array();
    for (const audit::Group& group : result.groups) {
        Json one = {{"port", group.port},         {"direction", group.upstream ? "up" : "down"},
                    {"subject", group.subject},   {"kind", group.kind},
                    {"frames", group.frames},     {"differs", group.differs},
                    {"standard", group.standard}, {"device", group.device},
                    {"from", group.from},         {"example", frameJson(group.example)}};
        if (group.differs) {
            one["difference"] = group.difference;
            one["rule"] = group.rule;
            one["try"] = sendLine(group, command);
        }
        groups.push_back(std::move(one));
    }
    return {{"afterStep", result.step},        {"rows", result.rows},        {"filters", result.filters},
            {"frames", result.frames},         {"open", result.open},        {"differing", result.differing()},
            {"notCovered", result.notCovered}, {"groups", std::move(groups)}};
}

std::string auditPart(const audit::Result& result, const std::string& command) {
    using html::escaped;
    std::vector<html::RowGroup> ports;
    for (const audit::Group& group : result.groups) {
        if (ports.empty() || ports.back().title != escaped(group.port)) ports.push_back({escaped(group.port), {}});
        std::string device = escaped(group.differs ? deviceWords(group) : group.device);
        if (group.differs) device += html::element("div", html::code(sendLine(group, command)));
        ports.back().rows.push_back({html::mark(!group.differs) + " " + escaped(framesWords(group)),
                                     escaped(group.subject), escaped(group.standard), device});
    }
    if (ports.empty()) return "";
    return html::element("p", escaped(summary(result)) + ".", "soft") +
           html::card(html::stackingTable({"frames", "row or filter", "the standard", "the device"}, ports, "audit"));
}

}  // namespace vorn_onu
