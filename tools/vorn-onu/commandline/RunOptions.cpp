#include <memory>

#include "commandline/CommandLine.h"
#include "commands/Commands.h"

namespace vorn_onu {

Command addRun(CLI::App& app) {
    const auto run = std::make_shared<RunCommand>();
    CLI::App* command = app.add_subcommand("run", "run a scenario and show what stands on the device");
    command->add_option("FILE", run->scenario, "the scenario")->required()->type_name("");
    command->add_flag("--trace", run->trace, "show every call into the device below the step that made it");
    command->add_option("--json", run->jsonFile, "write steps and device state as JSON; - is standard output")
        ->type_name("FILE");
    command->add_option("--report", run->reportFile, "write a report as one HTML page")->type_name("FILE");
    command->add_option("--pcap", run->pcapFile, "write the frames of the scenario's frame steps for Wireshark")
        ->type_name("FILE");
    command->add_flag("--hal-output", run->halOutput, "show what the HAL prints below the step that made it print");
    command->add_flag("--real-time", run->realTime, "let waits take their time");
    command->add_flag("--quiet", run->quiet, "show failures only");
    command->footer("Nothing runs when the file has a mistake in it.");
    return {command, [run] { return run->run(); }};
}

}  // namespace vorn_onu
