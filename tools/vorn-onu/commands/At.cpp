// vorn-onu at NAME ...: looks at a board that runs, and takes steps on it.
#include <nlohmann/json.hpp>

#include "commands/AtTrying.h"
#include "commands/Commands.h"
#include "commands/ExecSummary.h"
#include "commands/FrameSending.h"
#include "living/Client.h"
#include "living/TypedStep.h"
#include "running/io/JsonCheck.h"
#include "running/io/Output.h"
#include "views/DeviceReport.h"
#include "views/StepReply.h"

namespace vorn_onu {

namespace {

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

int AtMetricsCommand::run() const {
    return tried("metrics", [this] {
        print(living::Client(name).ask({{"do", "metrics"}}).at("metrics").get<std::string>());
        return kHeld;
    });
}

int AtSendCommand::run() const {
    return tried("send", [this] {
        living::Client client(name);
        const nlohmann::json reply =
            client.ask({{"do", "send"}, {"frame", frameFieldsOf(*this)}, {"bothWays", bothWays}});
        const nlohmann::json back = reply.value("back", nlohmann::json::array());
        const Terminal terminal = Terminal::of(stdout);
        std::string text =
            terminal.bold(reply.at("frame").get<std::string>()) + "\n" + wayText(reply.at("way"), terminal);
        bool asItWent = true;
        for (const auto& one : back) {
            const auto against = one.at("against").get<std::string>();
            asItWent = asItWent && against.empty();
            text +=
                terminal.bold("Back: " + one.at("frame").get<std::string>()) + "\n" + wayText(one.at("way"), terminal);
            text += against.empty()
                        ? "  " + terminal.green("✓") + " comes back as it went\n"
                        : "  " + terminal.red("✗") +
                              " does not come back as it went: " + hanging(against, terminal.width(), 4) + "\n";
        }
        print(json ? reply.at("sent").dump(2, ' ', true) + "\n" : text);
        return reply.at("sent").at("leaves").empty() || !asItWent ? kNotHeld : kHeld;
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
