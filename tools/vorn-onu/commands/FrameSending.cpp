#include "commands/FrameSending.h"

#include <algorithm>
#include <utility>

#include <nlohmann/json.hpp>

#include "running/state/WalkWords.h"

namespace vorn_onu {

namespace {

constexpr std::size_t kMaxHops = 14;  // shown; with the lines around them they fit a screen

// A number where it reads as one, else a word for the field to understand or refuse.
Json typed(const std::string& text) {
    const bool digits = !text.empty() && text.size() < 10 &&
                        std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    return digits ? Json(std::stoll(text)) : Json(text);
}

std::string hopTable(const virtual_onu::Walk& walk, const Terminal& terminal) {
    const std::vector<HopWords> hops = hopWords(walk);
    Table table;
    for (std::size_t i = 0; i < hops.size() && i < kMaxHops; ++i) {
        const HopWords& hop = hops[i];
        std::string what = hop.what;
        if (!hop.to.empty()) what += " → " + hop.to;
        if (!hop.frame.empty()) what += "  [" + hop.frame + "]";
        table.row({std::to_string(i + 1), hop.tree + hop.where, what});
    }
    std::string text = table.text(terminal);
    if (hops.size() > kMaxHops) text += "  and " + std::to_string(hops.size() - kMaxHops) + " more look-ups\n";
    return text.empty() ? "" : text + "\n";
}

// Lines behind a mark.
std::string marked(const Terminal& terminal, const std::string& mark, const std::string& what) {
    std::string text;
    const auto lines = wrapped(what, terminal.width() - 4);
    for (std::size_t i = 0; i < lines.size(); ++i) text += "  " + (i == 0 ? mark : " ") + " " + lines[i] + "\n";
    return text;
}

}  // namespace

Json frameFieldsOf(const TypedFrame& command) {
    Json frame = {{"from", command.from}, {"tags", Json::array()}};
    for (const TypedTag& one : command.tags) {
        Json tag = {{"vid", typed(one.vlan)}, {"dei", one.dei}};
        if (!one.pbits.empty()) tag["pbits"] = typed(one.pbits);
        if (!one.tpid.empty()) tag["tpid"] = typed(one.tpid);
        frame["tags"].push_back(std::move(tag));
    }
    const auto add = [&frame](const char* field, const std::string& text, bool mayBeNumber) {
        if (!text.empty()) frame[field] = mayBeNumber ? typed(text) : Json(text);
    };
    add("etherType", command.etherType, true);
    add("ipProtocol", command.ipProtocol, true);
    add("dscp", command.dscp, true);
    add("payload", command.payload, true);
    add("source", command.source, false);
    add("destination", command.destination, false);
    return frame;
}

std::runtime_error badFrame(const Problem& problem) {
    return std::runtime_error("the frame: " + problem.text());
}

FrameInput frameOf(const TypedFrame& command) {
    try {
        return frameInputOf(frameFieldsOf(command));
    } catch (const Problem& problem) {
        throw badFrame(problem);
    }
}

std::string walkWords(const virtual_onu::Walk& walk, const Terminal& terminal) {
    std::string text = hopTable(walk, terminal);
    for (const auto& exit : walk.exits) text += marked(terminal, terminal.green("✓"), "leaves at " + exitWords(exit));
    if (walk.exits.empty())
        for (const auto& drop : walk.drops) text += marked(terminal, terminal.red("✗"), dropWords(walk, drop));
    return text;
}

std::string returnWords(const std::vector<Return>& returns, const Terminal& terminal) {
    std::string text;
    for (const Return& one : returns) {
        text += "\n" + terminal.bold("Back: " + one.input.text()) + "\n\n" + walkWords(one.walk, terminal);
        text += one.against.empty()
                    ? marked(terminal, terminal.green("✓"), "comes back as it went")
                    : marked(terminal, terminal.red("✗"), "does not come back as it went: " + one.against);
    }
    return text;
}

}  // namespace vorn_onu
