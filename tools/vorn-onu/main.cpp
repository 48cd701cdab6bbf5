#include <cstdio>
#include <cstdlib>
#include <iostream>

#include <CLI/CLI.hpp>

#include "Commands.h"

namespace {

using namespace vorn_onu;

constexpr const char* kDescription =
    "Runs HAL scenarios and whole programs against the virtual ONU.\n"
    "Exit codes: 0 all expectations held, 1 one did not, 2 bad input.";

void addRun(CLI::App& app, RunCommand& run) {
    CLI::App* command = app.add_subcommand("run", "run a scenario and show what stands on the device");
    command->add_option("FILE", run.scenario, "the scenario")->required();
    command->add_flag("--trace", run.trace, "show every call into the device below the step that made it");
    command->add_option("--json", run.jsonFile, "write steps and device state as JSON; - is standard output");
    command->add_flag("--hal-output", run.halOutput, "show what the HAL prints below the step that made it print");
    command->add_flag("--real-time", run.realTime, "let waits take their time");
    command->add_flag("--quiet", run.quiet, "show failures only");
}

void addExec(CLI::App& app, ExecCommand& exec) {
    CLI::App* command = app.add_subcommand("exec", "run a program on the virtual ONU and show what it leaves there");
    command->add_option("--trace", exec.traceFile, "write every call into the device to this file");
    command->add_option("--json", exec.jsonFile, "write the device state as JSON to this file");
    command->add_option("--record", exec.recordFile,
                        "write what the program asks of the HAL as a scenario to this file");
    command->add_flag("--quiet", exec.quiet, "do not show the device");
    command->add_option("PROGRAM", exec.program, "the program and its arguments, after --")->required();
    command->positionals_at_end();
}

void addDiff(CLI::App& app, DiffCommand& diff) {
    CLI::App* command = app.add_subcommand("diff", "tell in words what differs between two device states");
    command->add_option("BEFORE", diff.before, "a file that --json has written")->required();
    command->add_option("AFTER", diff.after, "another one")->required();
}

// The HAL's threads live as long as the process: they must not meet destroyed maps on its way out.
[[noreturn]] void leave(int code) {
    std::cout.flush();
    std::cerr.flush();
    std::fflush(nullptr);
    std::_Exit(code);
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app(kDescription, "vorn-onu");
    app.require_subcommand(1);
    RunCommand run;
    ExecCommand exec;
    DiffCommand diff;
    addRun(app, run);
    addExec(app, exec);
    addDiff(app, diff);
    app.add_subcommand("schema", "print the JSON schema of scenarios");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kHeld : kBadInput;
    }
    if (app.got_subcommand("run")) leave(run.run());
    if (app.got_subcommand("exec")) leave(exec.run());
    if (app.got_subcommand("diff")) leave(diff.run());
    return printSchema();
}
