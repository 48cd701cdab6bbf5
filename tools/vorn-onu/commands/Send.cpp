// vorn-onu send FILE --from PORT: where does this frame go?
#include <optional>
#include <utility>

#include <nlohmann/json.hpp>

#include "commands/Commands.h"
#include "commands/Forwarding.h"
#include "commands/FrameSending.h"
#include "commands/SendCapture.h"
#include "running/capture/CaptureReader.h"
#include "running/capture/CaptureWriter.h"
#include "running/io/Files.h"
#include "running/io/Output.h"
#include "running/program/HalOutput.h"
#include "running/scenario/Runner.h"
#include "running/scenario/fields/FrameFields.h"
#include "views/Terminal.h"

namespace vorn_onu {

namespace {

// The data path after a step.
struct Moment {
    virtual_onu::FrozenDataPath path;
    std::size_t step = 0;
    bool canArrive = false;           // there was such a place then
    std::vector<std::string> places;  // where frames could arrive then
};

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
    if (!moment.value().canArrive)
        throw badFrame({"from", noSuchPlace(input, " after step " + std::to_string(moment->step), moment->places)});
    return *moment;
}

std::string momentWords(const Scenario& scenario, const SendCommand& command, std::size_t step) {
    std::string text = "after step " + std::to_string(step) + " of " + std::to_string(scenario.steps.size());
    return command.afterStep != 0 ? text : text + ", when the device holds most";
}

std::string heading(const Scenario& scenario, const std::string& what, const std::string& moment,
                    const Terminal& terminal) {
    return terminal.bold(what) + "\n" + terminal.dim(cut(scenario.title, terminal.width())) + "\n" +
           terminal.dim(moment) + "\n\n";
}

Json momentJson(const Moment& moment, const SentFrame& sent, const std::vector<Return>& returns, bool bothWays) {
    Json json = walkJson(sent.walk);
    const Json all = sentJson(sent, returns, bothWays);
    for (const auto& [key, value] : all.items()) {
        json[key] = value;
        if (key == "sent") json["afterStep"] = moment.step;
    }
    return json;
}

int sendLoaded(const SendCommand& command, const Scenario& scenario, const FrameInput& input) {
    HalOutput hal(command.scenario);
    const Terminal terminal = Terminal::of(hal.shown());
    const Moment moment = momentOf(scenario, command, input);
    const SentFrame sent{input, send(moment.path, input)};
    std::vector<Return> returns;
    if (command.bothWays) returns = sendBack([&](const FrameInput& back) { return send(moment.path, back); }, sent);
    std::string text;
    if (command.json)
        text = momentJson(moment, sent, returns, command.bothWays).dump(2, ' ', true) + "\n";
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
    return run.outcomes.left() == 0 ? kNotHeld : kHeld;
}

}  // namespace

int SendCommand::run() const {
    const FrameInput input = frameOf(*this);
    const Scenario loaded = loadScenario(scenario);
    if (afterStep > loaded.steps.size())
        throw BadScenario(scenario + ": has " + std::to_string(loaded.steps.size()) + " steps, there is no step " +
                          std::to_string(afterStep));
    if (loaded.steps.empty()) throw BadScenario(scenario + ": has no steps");
    useForwarding(forwardingOf(forwarding, loaded));
    return captureFile.empty() ? sendLoaded(*this, loaded, input) : sendCapture(*this, loaded, input);
}

}  // namespace vorn_onu
