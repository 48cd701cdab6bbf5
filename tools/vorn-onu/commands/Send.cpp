// vorn-onu send FILE --from PORT: where does this frame go?
#include <algorithm>
#include <optional>
#include <utility>

#include "capture/CaptureReader.h"
#include "capture/CaptureWriter.h"
#include "commands/Commands.h"
#include "commands/SendCapture.h"
#include "io/Files.h"
#include "io/Output.h"
#include "scenario/Runner.h"
#include "scenario/fields/FrameFields.h"
#include "show/HalOutput.h"
#include "show/Terminal.h"
#include "state/WalkWords.h"

namespace vorn_onu {

namespace {

constexpr std::size_t kMostHops = 14;  // shown; with the lines around them they fit a screen

// The data path after a step.
struct Moment {
    virtual_onu::FrozenDataPath path;
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
    add("payload", command.payload, true);
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

void checkPlace(const FrameInput& input, const Moment& moment) {
    if (moment.canArrive) return;
    throw Problem("from", "there is no port '" + input.from + "' after step " + std::to_string(moment.step) +
                              suggestion(input.from, moment.places) + "; there are " + joined(moment.places));
}

// The data path at the chosen moment. The fullest moment is known only when the scenario is over, so every candidate is
// kept until the next one.
Moment momentOf(const Scenario& scenario, const SendCommand& command, const FrameInput& input) {
    auto& onu = virtual_onu::VirtualOnu::instance();
    FullestMoment fullest;
    std::optional<Moment> moment;
    RunOptions options;
    options.lastStep = command.afterStep;
    runScenario(scenario, options, [&](const StepRecord& record) {
        const bool chosen = command.afterStep != 0 ? record.step->number == command.afterStep : fullest.isNow(onu);
        if (!chosen || record.step->kind == "end") return;
        moment = Moment{onu.freezeDataPath(), record.step->number, canArrive(input, onu), placesOn(onu)};
    });
    checkPlace(input, moment.value());
    return *moment;
}

virtual_onu::Walk send(const virtual_onu::FrozenDataPath& path, const FrameInput& input) {
    return input.gemPort ? path.sendFromPon(*input.gemPort, input.frame) : path.sendFromPort(input.from, input.frame);
}

// ---- both ways ----

// What came out at one place, sent back from there, and what became of it.
struct Return {
    FrameInput input;
    virtual_onu::Walk walk;
    std::string against;  // why it does not come back as it went; "" where it does
};

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

std::string momentWords(const Scenario& scenario, const SendCommand& command, std::size_t step) {
    std::string text = "after step " + std::to_string(step) + " of " + std::to_string(scenario.steps.size());
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

// Lines behind a mark.
std::string marked(const Terminal& terminal, const std::string& mark, const std::string& what) {
    std::string text;
    const auto lines = wrapped(what, terminal.width() - 4);
    for (std::size_t i = 0; i < lines.size(); ++i) text += "  " + (i == 0 ? mark : " ") + " " + lines[i] + "\n";
    return text;
}

std::string walkWords(const virtual_onu::Walk& walk, const Terminal& terminal) {
    std::string text = hopTable(walk, terminal);
    for (const auto& exit : walk.exits) text += marked(terminal, terminal.green("✓"), "leaves at " + exitWords(exit));
    if (walk.exits.empty())
        for (const auto& drop : walk.drops) text += marked(terminal, terminal.red("✗"), dropWords(walk, drop));
    return text;
}

std::string heading(const Scenario& scenario, const std::string& what, const std::string& moment,
                    const Terminal& terminal) {
    return terminal.bold(what) + "\n" + terminal.dim(cut(scenario.title, terminal.width())) + "\n" +
           terminal.dim(moment) + "\n\n";
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

Json sentJson(const Moment& moment, const SentFrame& sent, const std::vector<Return>& returns, bool bothWays) {
    Json json = walkJson(sent.walk);
    json["from"] = sent.input.from;
    json["sent"] = frameJson(sent.input.frame);
    json["afterStep"] = moment.step;
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

int sendLoaded(const SendCommand& command, const Scenario& scenario, const FrameInput& input) {
    HalOutput hal(command.scenario);
    const Terminal terminal = Terminal::of(hal.shown());
    const Moment moment = momentOf(scenario, command, input);
    const SentFrame sent{input, send(moment.path, input)};
    std::vector<Return> returns;
    if (command.bothWays) returns = sendBack(moment.path, sent);
    std::string text;
    if (command.json)
        text = sentJson(moment, sent, returns, command.bothWays).dump(2, ' ', true) + "\n";
    else
        text = heading(scenario, input.text(), momentWords(scenario, command, moment.step), terminal) +
               walkWords(sent.walk, terminal) + returnWords(returns, terminal);
    print(hal.shown(), text);
    return sent.walk.exits.empty() || !allReturn(returns) ? kNotHeld : kHeld;
}

int sendCapture(const SendCommand& command, const Scenario& scenario, const FrameInput& input) {
    CaptureReader reader(command.captureFile);
    checkWritable(command.pcapFile);
    HalOutput hal(command.scenario);
    const Moment moment = momentOf(scenario, command, input);
    std::optional<CaptureWriter> writer;
    if (!command.pcapFile.empty()) writer.emplace(command.pcapFile);
    const CaptureRun run = runCapture(reader, moment.path, {input.from, input.gemPort}, writer ? &*writer : nullptr);
    const std::string text = command.json
                                 ? captureJson(run, moment.step).dump(2, ' ', true) + "\n"
                                 : heading(scenario, command.captureFile + " from " + input.place(),
                                           momentWords(scenario, command, moment.step), Terminal::of(hal.shown())) +
                                       captureWords(run, Terminal::of(hal.shown()));
    print(hal.shown(), text);
    return run.fates.left() == 0 ? kNotHeld : kHeld;
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
        return captureFile.empty() ? sendLoaded(*this, loaded, input) : sendCapture(*this, loaded, input);
    } catch (const Problem& problem) {
        complain("the frame: " + problem.text());
    } catch (const std::exception& error) {
        complain(error.what());
    }
    return kBadInput;
}

}  // namespace vorn_onu
