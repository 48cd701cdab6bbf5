#include <memory>

#include <CLI/CLI.hpp>

#include "commands/CommandLine.h"
#include "commands/Commands.h"

namespace vorn_onu {

Command addDiff(CLI::App& app) {
    const auto diff = std::make_shared<DiffCommand>();
    CLI::App* command = app.add_subcommand("diff", "tell in words what differs between two device states, or two MIBs");
    command->add_option("BEFORE", diff->before, "a file that --json has written")->required()->type_name("");
    command->add_option("AFTER", diff->after, "another one")->required()->type_name("");
    command->add_flag("--json", diff->json, "answer in JSON: a list of the differences in words");
    command->footer("Exit codes: 0 no difference, 1 there are some, 2 bad input.");
    return {command, [diff] { return diff->run(); }};
}

}  // namespace vorn_onu
