#include <memory>

#include <CLI/CLI.hpp>

#include "commands/BoardOptions.h"
#include "commands/CommandLine.h"
#include "commands/Commands.h"
#include "commands/ForwardingOptions.h"
#include "commands/TapOptions.h"

namespace vorn_onu {

Command addExec(CLI::App& app) {
    const auto exec = std::make_shared<ExecCommand>();
    CLI::App* command = app.add_subcommand("exec", "run a program on the virtual ONU and show what it leaves there");
    addFileOption(*command, "--trace", exec->traceFile, "write every call into the device; - is standard output");
    addFileOption(*command, "--json", exec->jsonFile, "write the device state as JSON; - is standard output");
    addBoardFile(*command, exec->board, "the program");
    addIdentityOptions(*command, exec->board);
    addFileOption(*command, "--report", exec->reportFile, "write a report as one HTML page");
    addFileOption(*command, "--pcap", exec->pcapFile, "write the frames that the program sends for Wireshark");
    addFileOption(*command, "--hal-output", exec->halOutput,
                  "write what the HAL prints to this file; otherwise to a log file that the summary names; - mixes it "
                  "with what the program prints");
    addFileOption(*command, "--record", exec->recordFile,
                  "write what the program asks of the HAL as a scenario to this file");
    CLI::Option* name = addBoardName(*command, exec->name, "while the program and all that it has started runs");
    addMetricsOption(*command, exec->metrics, "with --name")->needs(name);
    addTapOption(*command, exec->taps);
    command->add_flag("--quiet", exec->quiet, "do not show the device");
    command->add_option("PROGRAM", exec->program, "the program and its arguments, after --")->required()->type_name("");
    command->positionals_at_end();
    addForwardingOption(*command, exec->forwarding);
    command->footer(
        "The program needs no change; it may be a daemon that is built for the workstation and linked with libvorn_hal "
        "alone.\n\n"
        "SIGINT, SIGTERM, SIGHUP and SIGQUIT are passed on to the program and all that it has started, also when it "
        "has "
        "detached itself from the terminal; a second Ctrl-C kills it. A program that goes into the background goes on "
        "there: its process number and the files that it writes are named.\n\n"
        "With --board FILE the board outlives the program: FILE holds it after every call, also when the program is "
        "killed, and the next exec --board FILE goes on with it. All processes of the program work on it.\n\n"
        "The exit code is the program's own; 128 and the number of the signal that ended it; 127 when it cannot be "
        "started; 2 bad input.");
    return {command, [exec] { return exec->run(); }};
}

}  // namespace vorn_onu
