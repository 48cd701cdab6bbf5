#include "views/StepReply.h"

#include <algorithm>

#include <nlohmann/json.hpp>

namespace vorn_onu {

namespace {

using nlohmann::json;

std::string side(const char* label, const json& lines, const Terminal& terminal) {
    constexpr std::size_t kIndent = 14;
    std::string text;
    const std::size_t count = std::max<std::size_t>(lines.size(), 1);
    for (std::size_t i = 0; i < count; ++i) {
        const std::string line = lines.empty() ? "(nothing)" : lines[i].get<std::string>();
        std::string start = i == 0 ? label : "";
        start.resize(kIndent - 4, ' ');
        text += "    " + start + hanging(line, terminal.width(), kIndent) + "\n";
    }
    return text;
}

std::string failures(const json& step, const Terminal& terminal) {
    std::string text;
    for (const json& failure : step.at("failures"))
        text += "  " + terminal.red(failure.at("what").get<std::string>()) + "\n" +
                side("expected", failure.at("expected"), terminal) + side("actual", failure.at("actual"), terminal);
    return text;
}

}  // namespace

std::string wayText(const json& words, const Terminal& terminal) {
    Table table;
    std::size_t number = 0;
    for (const json& hop : words.at("hops")) {
        std::string what = hop.at("what").get<std::string>();
        const auto to = hop.at("to").get<std::string>(), frame = hop.at("frame").get<std::string>();
        if (!to.empty()) what += " → " + to;
        if (!frame.empty()) what += "  [" + frame + "]";
        table.row(
            {std::to_string(++number), hop.at("tree").get<std::string>() + hop.at("where").get<std::string>(), what});
    }
    std::string text = table.text(terminal);
    for (const json& exit : words.at("leaves"))
        text +=
            "  " + terminal.green("✓") + " leaves at " + hanging(exit.get<std::string>(), terminal.width(), 14) + "\n";
    if (words.at("leaves").empty())
        for (const json& drop : words.at("dropped"))
            text += "  " + terminal.red("✗") + " " + hanging(drop.get<std::string>(), terminal.width(), 4) + "\n";
    return text;
}

std::string stepReplyText(const json& step, const Terminal& terminal) {
    const bool passed = step.at("passed").get<bool>();
    std::string line = step.at("kind").get<std::string>();
    const auto name = step.at("name").get<std::string>(), words = step.at("words").get<std::string>();
    const auto answer = step.at("answer").get<std::string>(), effects = step.at("effects").get<std::string>();
    if (!name.empty()) line += " " + name;
    if (!words.empty()) line += "  " + words;
    if (!answer.empty() && !step.contains("walk")) line += "  = " + answer;
    if (!effects.empty()) line += "  → " + effects;
    // Where a frame went says its own line; that nothing else was asked for is no success.
    const std::string mark = !passed ? terminal.red("✗") : step.contains("way") ? " " : terminal.green("✓");
    std::string text = mark + " " + hanging(line, terminal.width(), 2) + "\n";
    if (step.contains("way")) text += wayText(step.at("way"), terminal);
    for (const json& warning : step.at("warnings"))
        text += "  " + terminal.yellow(hanging(warning.get<std::string>(), terminal.width(), 2)) + "\n";
    return text + failures(step, terminal);
}

}  // namespace vorn_onu
