#include <memory>

#include <CLI/CLI.hpp>

#include "commands/CommandLine.h"
#include "commands/Commands.h"
#include "commands/ForwardingOptions.h"

namespace vorn_onu {

Command addAudit(CLI::App& app) {
    const auto audit = std::make_shared<AuditCommand>();
    CLI::App* command = app.add_subcommand("audit", "tell where the device treats frames otherwise than G.988 says");
    command->add_option("FILE", audit->scenario, "the scenario")->required()->type_name("");
    command->add_flag("--strict", audit->strict, "take a difference for a failure");
    addCountOption(*command, "--after-step", audit->afterStep,
                   "stop the scenario after this step; otherwise when the device holds most");
    command->add_flag("--json", audit->json, "answer in JSON");
    addScenarioForwardingOption(*command, audit->forwarding);
    command->footer(
        "Frames of each kind, inside and outside of the tagging rows and filters that the scenario asks for, go both "
        "ways through the device and through a model of the standard's tables. Differences come in groups, each with "
        "the rule responsible and a frame to try.\n\n"
        "Exit codes: 0 nothing differs, or --strict is not given, 1 something differs, 2 bad input.");
    return {command, [audit] { return audit->run(); }};
}

}  // namespace vorn_onu
