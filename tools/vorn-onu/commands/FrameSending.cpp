#include "commands/FrameSending.h"

#include <algorithm>
#include <utility>

#include "state/WalkWords.h"

namespace vorn_onu {

namespace {

constexpr std::size_t kMostHops = 14;  // shown; with the lines around them they fit a screen

// A number where it reads as one, else a word for the field to understand or refuse.
Json typed(const std::string& text) {
    const bool digits = !text.empty() && text.size() < 10 &&
                        std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    return digits ? Json(std::stoll(text)) : Json(text);
}

// The answer to a frame that left: from where it left to where it came from.
FrameInput answerTo(const virtual_onu::Exit& exit) {
    FrameInput input;
    input.gemPort = exit.gemPort;
    input.from = exit.gemPort ? "gem " + std::to_string(*exit.gemPort) : exit.device;
    input.frame = exit.frame;
    std::swap(input.frame.source, input.frame.destination);
    const bool toGroup = (std::stoul(input.frame.source.substr(0, 2), nullptr, 16) & 1) != 0;
    if (toGroup) input.frame.source = virtual_onu::Frame{}.destination;  // a group answers nothing; one of it does
    input.frame.groupMessage.reset();
    return input;
}

bool isPlaceOf(const virtual_onu::Exit& exit, const FrameInput& input) {
    return input.gemPort ? exit.gemPort == input.gemPort : exit.device == input.from;
}

std::string whyNotAsItWent(const FrameInput& sent, const virtual_onu::Walk& back) {
    if (back.exits.empty()) return back.drops.empty() ? "it vanishes" : dropWords(back, back.drops.front());
    for (const auto& exit : back.exits) {
        if (!isPlaceOf(exit, sent)) continue;
        if (back.exits.size() > 1) return "it comes back at " + sent.place() + ", and elsewhere too";
        if (exit.frame.tags == sent.frame.tags && exit.frame.etherType == sent.frame.etherType) return "";
        virtual_onu::Frame went = sent.frame, came = exit.frame;
        return "it comes back as " + came.text() + ", not as " + went.text();
    }
    return "it comes out at " + exitWords(back.exits.front()) + ", not at " + sent.place();
}

std::string hopTable(const virtual_onu::Walk& walk, const Terminal& terminal) {
    const std::vector<HopWords> hops = hopWords(walk);
    Table table;
    for (std::size_t i = 0; i < hops.size() && i < kMostHops; ++i) {
        const HopWords& hop = hops[i];
        std::string what = hop.what;
        if (!hop.to.empty()) what += " → " + hop.to;
        if (!hop.frame.empty()) what += "  [" + hop.frame + "]";
        table.row({std::to_string(i + 1), hop.tree + hop.where, what});
    }
    std::string text = table.text(terminal);
    if (hops.size() > kMostHops) text += "  and " + std::to_string(hops.size() - kMostHops) + " more look-ups\n";
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

FrameInput frameOf(const TypedFrame& command) {
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
    return frameInputOf(frame);
}

std::vector<std::string> placesOn(const virtual_onu::VirtualOnu& onu) {
    std::vector<std::string> places;
    for (const auto& device : onu.devices()) {
        const bool isPort = device.realDevice.empty() && !device.isBridge && device.name != "gpondef";
        if (isPort || !device.addresses.empty()) places.push_back(device.name);
    }
    for (const auto& port : onu.gemPorts()) places.push_back("gem " + std::to_string(port.portId));
    return places;
}

bool canArrive(const FrameInput& input, const virtual_onu::VirtualOnu& onu) {
    return input.gemPort ? onu.gemPort(*input.gemPort).has_value() : onu.deviceExists(input.from);
}

virtual_onu::Walk send(const virtual_onu::FrozenDataPath& path, const FrameInput& input) {
    return input.gemPort ? path.sendFromPon(*input.gemPort, input.frame) : path.sendFromPort(input.from, input.frame);
}

std::vector<Return> sendBack(const virtual_onu::FrozenDataPath& path, const SentFrame& sent) {
    std::vector<Return> returns;
    for (const auto& exit : sent.walk.exits) {
        Return one{answerTo(exit), {}, ""};
        one.walk = send(path, one.input);
        one.against = whyNotAsItWent(sent.input, one.walk);
        returns.push_back(std::move(one));
    }
    return returns;
}

bool allReturn(const std::vector<Return>& returns) {
    return std::all_of(returns.begin(), returns.end(), [](const Return& one) { return one.against.empty(); });
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

Json sentJson(const SentFrame& sent, const std::vector<Return>& returns, bool bothWays) {
    Json json = walkJson(sent.walk);
    json["from"] = sent.input.from;
    json["sent"] = frameJson(sent.input.frame);
    if (!bothWays) return json;
    Json back = Json::array();
    for (const Return& one : returns) {
        Json way = walkJson(one.walk);
        way["from"] = one.input.from;
        way["sent"] = frameJson(one.input.frame);
        way["asItWent"] = one.against.empty();
        if (!one.against.empty()) way["reason"] = one.against;
        back.push_back(std::move(way));
    }
    json["back"] = std::move(back);
    return json;
}

}  // namespace vorn_onu
