#include "views/page/StepAnswer.h"

#include <array>

#include <nlohmann/json.hpp>

#include "views/Html.h"
#include "views/Report.h"

namespace vorn_onu::page {

namespace {

using namespace html;
using nlohmann::json;

std::string wayHtml(const json& way) {
    std::string text;
    for (const json& leaves : way.at("leaves"))
        text += element("li", escaped("leaves at " + leaves.get<std::string>()), "out");
    if (text.empty())  // where some leave, the table tells of the others
        for (const json& dropped : way.at("dropped"))
            text += element("li", escaped(dropped.get<std::string>()), "drop");
    std::vector<HopWords> hops;
    for (const json& one : way.at("hops")) {
        HopWords hop;
        hop.where = one.at("where").get<std::string>();
        hop.what = one.at("what").get<std::string>();
        hop.to = one.at("to").get<std::string>();
        hop.frame = one.at("frame").get<std::string>();
        hop.tree = one.at("tree").get<std::string>();
        hop.fate = one.at("fate").get<std::string>();
        hop.dropped = one.at("drops").get<bool>();
        hops.push_back(std::move(hop));
    }
    const std::string table = hopTable(hops);
    return element("ul", text, "plain ends") + (table.empty() ? element("p", "before any look-up", "soft") : table);
}

std::string failuresHtml(const json& failures) {
    std::string text;
    for (const json& failure : failures) {
        std::string lines = failure.at("what").get<std::string>();
        for (const char* side : {"expected", "actual"})
            for (const json& line : failure.at(side)) lines += "\n" + std::string(side) + " " + line.get<std::string>();
        text += element("div", escaped(lines), "fail mono");
    }
    return text;
}

}  // namespace

std::string whyNotTaken(const json& step) {
    constexpr std::array<const char*, 5> kKinds{"board", "gateway", "fault", "advance", "frame"};
    if (step.is_object() && step.size() == 1)
        for (const char* kind : kKinds)
            if (step.contains(kind)) return "";
    return "a step of this page is one of board, gateway, fault, advance and frame, and nothing beside it";
}

json stepAnswer(const json& step) {
    const bool passed = step.at("passed").get<bool>();
    std::string words = step.at("kind").get<std::string>() + ": " + step.at("words").get<std::string>();
    std::string html = failuresHtml(step.at("failures"));
    if (const auto effects = step.at("effects").get<std::string>(); !effects.empty()) words += " → " + effects;
    if (step.contains("way")) {
        const json& way = step.at("way");
        const std::size_t left = way.at("leaves").size();
        words += left == 0   ? ": is dropped"
                 : left == 1 ? ": leaves the device"
                             : ": leaves in " + std::to_string(left) + " copies";
        html = element("h3", escaped("The frame: " + step.at("words").get<std::string>())) + wayHtml(way) + html;
    } else if (!passed) {
        words += ": failed";
    }
    return {{"passed", passed}, {"words", words}, {"html", html}};
}

}  // namespace vorn_onu::page
