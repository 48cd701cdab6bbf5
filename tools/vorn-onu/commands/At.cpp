// vorn-onu at NAME ...: looks at a board that runs, and takes steps on it.
#include <nlohmann/json.hpp>

#include "commands/Commands.h"
#include "io/JsonCheck.h"
#include "io/Output.h"
#include "living/Client.h"
#include "living/TypedStep.h"
#include "program/ExecSummary.h"
#include "show/DeviceReport.h"
#include "show/StepReply.h"

namespace vorn_onu {

namespace {

// Answers the exit code of work, which may throw.
template <typename Work>
int tried(const std::string& place, Work work) {
    try {
        return work();
    } catch (const Problem& problem) {
        complain("vorn-onu: at: " + place + ": " + problem.text());
    } catch (const living::Refusal& refusal) {
        complain("vorn-onu: at: " + place + ": " + refusal.what());
    } catch (const std::exception& error) {
        complain(error.what());
    }
    return kBadInput;
}

int takeStep(const AtCommand& at, const Json& step) {
    living::Client client(at.name);
    const nlohmann::json reply = client.ask({{"do", "step"}, {"step", step}}).at("step");
    if (at.json)
        print(reply.dump(2, ' ', true, nlohmann::json::error_handler_t::replace) + "\n");
    else
        print(stepReplyText(reply, Terminal::of(stdout)));
    const bool dropped = reply.contains("walk") && !step.contains("expect") && reply["walk"].at("leaves").empty();
    return reply.at("passed").get<bool>() && !dropped ? kHeld : kNotHeld;
}

}  // namespace

int AtShowCommand::run() const {
    return tried("show", [this] {
        living::Client client(name);
        const nlohmann::json device = client.ask({{"do", "show"}, {"trace", json ? "all" : "failed"}}).at("device");
        if (json) {
            print(device.dump(1, ' ', true) + "\n");
            return kHeld;
        }
        const Terminal terminal = Terminal::of(stdout);
        const DeviceState state = readState(device);
        const std::string report = deviceReport(state, readState(newBoard()), terminal) + warnings(state, terminal);
        print(report.empty() ? "The device is as new.\n" : report);
        return kHeld;
    });
}

int AtStepCommand::run() const {
    return tried(kind.empty() ? "step" : kind, [this] {
        if (!kind.empty()) return takeStep(*this, living::stepOf(kind, words));
        if (const auto fault = checkJson(words.at(0))) throw Problem(fault->what);
        return takeStep(*this, Json::parse(words.at(0)));
    });
}

}  // namespace vorn_onu
