// vorn-onu audit FILE: where does the device differ from the standard?
#include "views/audit/Audit.h"

#include <optional>

#include <nlohmann/json.hpp>

#include "commands/Commands.h"
#include "commands/Forwarding.h"
#include "running/io/Output.h"
#include "running/program/HalOutput.h"
#include "running/scenario/Runner.h"
#include "views/AuditWords.h"

namespace vorn_onu {

namespace {

// The device and what is asked of it at the chosen moment.
audit::Result auditAt(const Scenario& scenario, std::size_t afterStep, audit::Untaken untaken) {
    auto& onu = virtual_onu::VirtualOnu::instance();
    FullestMoment fullest;
    audit::AskedServices asked, chosenServices;
    std::optional<virtual_onu::FrozenDataPath> path;
    std::size_t step = 0;
    RunOptions options;
    options.lastStep = afterStep;
    runScenario(scenario, options, [&](const StepRecord& record) {
        asked.take(*record.step);
        const bool chosen = afterStep != 0 ? record.step->number == afterStep : fullest.isNow(onu);
        if (!chosen || record.step->kind == "end") return;
        chosenServices = asked;
        path = onu.freezeDataPath();
        step = record.step->number;
    });
    audit::Result result = path ? audit::auditOf(chosenServices, *path, untaken) : audit::Result{};
    result.step = step;
    return result;
}

}  // namespace

int AuditCommand::run() const {
    const Scenario loaded = loadScenario(scenario);
    if (afterStep > loaded.steps.size())
        throw Problem("audit: --after-step " + std::to_string(afterStep) + ": " + scenario + " has " +
                      std::to_string(loaded.steps.size()) + " steps");
    const std::string word = forwardingOf(forwarding, loaded);
    useForwarding(word);
    std::string sendCommand = audit::commandFor("send", scenario);
    if (!forwarding.empty()) sendCommand += " --forwarding " + forwarding;
    HalOutput hal(scenario);
    const Terminal terminal = Terminal::of(hal.shown());
    const audit::Result result = auditAt(loaded, afterStep, audit::untakenWith(word));
    if (json) {
        print(hal.shown(), auditJson(result, sendCommand).dump(2, ' ', true) + "\n");
    } else {
        const std::string moment = "after step " + std::to_string(result.step) + " of " +
                                   std::to_string(loaded.steps.size()) +
                                   (afterStep == 0 ? ", when the device holds most" : "");
        print(hal.shown(), terminal.bold("G.988 and the device") + "\n" +
                               terminal.dim(cut(loaded.title, terminal.width())) + "\n" + terminal.dim(moment) + "\n" +
                               terminal.dim(forwardingWords(word)) + "\n\n" +
                               auditWords(result, sendCommand, terminal));
    }
    return strict && result.differing() != 0 ? kNotHeld : kHeld;
}

}  // namespace vorn_onu
