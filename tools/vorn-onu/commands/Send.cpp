// vorn-onu send FILE --from PORT: where does this frame go?
#include <algorithm>

#include "commands/Commands.h"
#include "io/Output.h"
#include "scenario/Runner.h"
#include "scenario/fields/FrameFields.h"
#include "show/HalOutput.h"
#include "show/Terminal.h"
#include "state/WalkWords.h"

namespace vorn_onu {

namespace {

using virtual_onu::Learning;

constexpr std::size_t kMostHops = 14;  // shown; with the lines around them they fit a screen

// The frame and the step after which it was sent.
struct Answer {
    SentFrame sent;
    std::size_t step = 0;
    bool canArrive = false;           // there was such a place then
    std::vector<std::string> places;  // where frames could arrive then
};

// A number where it reads as one, else a word for the field to understand or refuse.
Json typed(const std::string& text) {
    const bool digits = !text.empty() && text.size() < 10 &&
                        std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    return digits ? Json(std::stoll(text)) : Json(text);
}

FrameInput frameOf(const SendCommand& command) {
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
    add("source", command.source, false);
    add("destination", command.destination, false);
    return frameInputOf(frame);
}

// Ports, devices with an address (the IP host's), GEM ports.
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

void checkPlace(const FrameInput& input, const Answer& answer) {
    if (answer.canArrive) return;
    throw Problem("from", "there is no port '" + input.from + "' after step " + std::to_string(answer.step) +
                              suggestion(input.from, answer.places) + "; there are " + joined(answer.places));
}

// Runs the scenario and walks the frame at the chosen moment. The fullest moment is known only when it is over, so the
// frame is walked at every candidate, without leaving a trace in the bridges.
Answer walkAfter(const Scenario& scenario, const SendCommand& command, const FrameInput& input) {
    auto& onu = virtual_onu::VirtualOnu::instance();
    FullestMoment fullest;
    Answer answer;
    RunOptions options;
    options.lastStep = command.afterStep;
    runScenario(scenario, options, [&](const StepRecord& record) {
        const bool chosen = command.afterStep != 0 ? record.step->number == command.afterStep : fullest.isNow(onu);
        if (!chosen || record.step->kind == "end") return;
        answer = {{input, input.send(onu, Learning::Off)}, record.step->number, canArrive(input, onu), placesOn(onu)};
    });
    checkPlace(input, answer);
    return answer;
}

std::string momentWords(const Scenario& scenario, const SendCommand& command, const Answer& answer) {
    std::string text = "after step " + std::to_string(answer.step) + " of " + std::to_string(scenario.steps.size());
    return command.afterStep != 0 ? text : text + ", when most stands on the device";
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

std::string words(const Scenario& scenario, const SendCommand& command, const Answer& answer,
                  const Terminal& terminal) {
    const auto& walk = answer.sent.walk;
    std::string text = terminal.bold(answer.sent.input.text()) + "\n" +
                       terminal.dim(cut(scenario.title, terminal.width())) + "\n" +
                       terminal.dim(momentWords(scenario, command, answer)) + "\n\n" + hopTable(walk, terminal);
    const auto line = [&](const std::string& mark, const std::string& what) {
        const auto lines = wrapped(what, terminal.width() - 4);
        for (std::size_t i = 0; i < lines.size(); ++i) text += "  " + (i == 0 ? mark : " ") + " " + lines[i] + "\n";
    };
    for (const auto& exit : walk.exits) line(terminal.green("✓"), "leaves at " + exitWords(exit));
    if (walk.exits.empty())
        for (const auto& drop : walk.drops) line(terminal.red("✗"), dropWords(drop));
    return text;
}

int sendLoaded(const SendCommand& command, const Scenario& scenario, const FrameInput& input) {
    HalOutput hal(command.scenario);
    const Answer answer = walkAfter(scenario, command, input);
    std::string text;
    if (command.json) {
        Json json = walkJson(answer.sent.walk);
        json["from"] = input.from;
        json["sent"] = frameJson(input.frame);
        json["afterStep"] = answer.step;
        text = json.dump(2, ' ', true) + "\n";
    } else {
        text = words(scenario, command, answer, Terminal::of(hal.shown()));
    }
    print(hal.shown(), text);
    return answer.sent.walk.exits.empty() ? kNotHeld : kHeld;
}

}  // namespace

int SendCommand::run() const {
    try {
        const FrameInput input = frameOf(*this);
        const Scenario loaded = loadScenario(scenario);
        if (afterStep > loaded.steps.size())
            throw BadScenario(scenario + ": has " + std::to_string(loaded.steps.size()) + " steps, there is no step " +
                              std::to_string(afterStep));
        if (loaded.steps.empty()) throw BadScenario(scenario + ": has no steps");
        return sendLoaded(*this, loaded, input);
    } catch (const Problem& problem) {
        complain("the frame: " + problem.text());
    } catch (const std::exception& error) {
        complain(error.what());
    }
    return kBadInput;
}

}  // namespace vorn_onu
