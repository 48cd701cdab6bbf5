#include <memory>

#include <CLI/CLI.hpp>

#include "commands/CommandLine.h"
#include "commands/Commands.h"
#include "commands/ForwardingOptions.h"
#include "commands/TapOptions.h"

namespace vorn_onu {

Command addRun(CLI::App& app) {
    const auto run = std::make_shared<RunCommand>();
    CLI::App* command = app.add_subcommand("run", "run a scenario and show what is on the device");
    command->add_option("FILE", run->scenarios, "the scenario, or several")->required()->type_name("");
    command->add_flag("--trace", run->trace, "show every call into the device below the step that made it");
    addFileOption(*command, "--json", run->jsonFile, "write steps and device state as JSON; - is standard output");
    addFileOption(*command, "--board", run->boardFile,
                  "the board that the scenario begins with and leaves; a file that is not there yet begins with a "
                  "new one");
    CLI::Option* report = addFileOption(*command, "--report", run->reportFile, "write a report as one HTML page");
    command->add_flag("--audit", run->audit, "compare the device with G.988 in the report, as the command audit does")
        ->needs(report);
    addFileOption(*command, "--pcap", run->pcapFile, "write the frames of the scenario's frame steps for Wireshark");
    command->add_flag("--hal-output", run->halOutput, "show what the HAL prints below the step that made it print");
    command->add_flag("--real-time", run->realTime, "let waits take their time");
    command->add_flag("--quiet", run->quiet, "show failures only");
    command->add_flag("--strict", run->strict,
                      "take a failing call into the device kit for a failure, unless a fault step asked for it");
    addFileOption(*command, "--junit", run->junitFile, "write a test case a scenario as JUnit's XML");
    addCountOption(*command, "--jobs", run->jobs, "run so many of several scenarios at a time; otherwise one");
    addCountOption(*command, "--after-step", run->afterStep, "end behind this step");
    CLI::Option* stay =
        command->add_flag("--stay", run->stay,
                          "let others reach the board afterwards, until SIGTERM or Ctrl-C; a scenario that takes its "
                          "services back ends before that, unless --after-step says where");
    addBoardName(*command, run->name, "with --stay; otherwise by that of the scenario's file")->needs(stay);
    addMetricsOption(*command, run->metrics, "with --stay")->needs(stay);
    addTapOption(*command, run->taps)->needs(stay);
    addScenarioForwardingOption(*command, run->forwarding);
    command->footer(
        "A scenario with a mistake in it is not run. Several scenarios run each on a board of its own, a line a "
        "scenario; "
        "--board, --json, --report, --pcap, --trace, --hal-output and --after-step go with one.\n\n"
        "Exit codes: 0 all expectations held, 1 one did not, 2 a scenario could not be read or a file not be written.");
    return {command, [run] { return run->run(); }};
}

}  // namespace vorn_onu
