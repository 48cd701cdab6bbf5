#include <memory>

#include <CLI/CLI.hpp>

#include "commands/CommandLine.h"
#include "commands/Commands.h"

namespace vorn_onu {

Command addInfo(CLI::App& app) {
    const auto info = std::make_shared<InfoCommand>();
    CLI::App* command =
        app.add_subcommand("info", "tell what the HAL reports of the board: identity, software, optics, links");
    command->add_option("FILE", info->scenario, "a scenario that sets the board up first; otherwise it is a new one")
        ->type_name("");
    command->add_flag("--json", info->json, "answer in JSON");
    return {command, [info] { return info->run(); }};
}

}  // namespace vorn_onu
