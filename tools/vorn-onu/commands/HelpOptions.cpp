// vorn-onu help, vorn-onu help COMMAND, vorn-onu help environment, vorn-onu schema.
#include <memory>

#include <CLI/CLI.hpp>

#include "commands/CommandLine.h"
#include "commands/Commands.h"
#include "running/io/Output.h"
#include "views/Terminal.h"

namespace vorn_onu {

namespace {

constexpr const char* kEnvironment = "environment";

}  // namespace

Command addSchema(CLI::App& app) {
    const auto ofState = std::make_shared<bool>(false);
    CLI::App* command = app.add_subcommand("schema", "print the JSON schema of scenarios");
    command->add_flag("--state", *ofState, "of the records of the device state in place of scenarios");
    return {command, [ofState] { return *ofState ? printStateSchema() : printSchema(); }};
}

Command addHelp(CLI::App& app) {
    struct Help {
        std::string command;
        bool manual = false;
    };
    const auto help = std::make_shared<Help>();
    CLI::App* command = app.add_subcommand("help", "tell how to use vorn-onu, or one of its commands");
    command->add_option("COMMAND", help->command, "the command to tell of, or environment: the variables that are read")
        ->type_name("");
    command->add_flag("--man", help->manual, "print the manual page, for man -l -");
    const auto work = [help, &app] {
        if (help->manual) {
            print(manualPage(app));
            return kHeld;
        }
        if (help->command == kEnvironment) {
            print(topicText(environmentTopic(), Terminal::of(stdout).width()));
            return kHeld;
        }
        const CLI::App* chosen = help->command.empty() ? &app : findCommand(app, help->command);
        if (chosen == nullptr) {
            complain(noSuchCommand(app, help->command));
            return kBadInput;
        }
        // Not by App::help(), which tells of the command that was chosen: of this one.
        const std::string name = chosen == &app ? app.get_name() : app.get_name() + " " + chosen->get_name();
        print(app.get_formatter()->make_help(chosen, name, CLI::AppFormatMode::Normal));
        return kHeld;
    };
    return {command, work};
}

}  // namespace vorn_onu
