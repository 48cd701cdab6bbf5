#include <memory>

#include <CLI/CLI.hpp>

#include "commands/CommandLine.h"
#include "commands/Commands.h"
#include "commands/ForwardingOptions.h"
#include "commands/FrameOptions.h"

namespace vorn_onu {

Command addSend(CLI::App& app) {
    const auto send = std::make_shared<SendCommand>();
    CLI::App* command = app.add_subcommand("send", "tell where a frame goes once a scenario's services are in place");
    command->add_option("FILE", send->scenario, "the scenario")->required()->type_name("");
    const FrameOptions frame = addFrameOptions(*command, *send);
    frame.from->required();
    CLI::Option* capture = addFileOption(*command, "--pcap-in", send->captureFile,
                                         "send the frames of this capture (pcap or pcapng), and tell what becomes "
                                         "of them")
                               ->excludes(frame.bothWays);
    addFileOption(*command, "--pcap", send->pcapFile, "write what left of the capture's frames, for Wireshark")
        ->needs(capture);
    addCountOption(*command, "--after-step", send->afterStep,
                   "stop the scenario after this step; otherwise when the device holds most");
    command->add_flag("--json", send->json, "answer in JSON");
    addScenarioForwardingOption(*command, send->forwarding);
    command->callback([send, command, frame] { readTags(*command, frame, *send); });
    command->footer(
        "Each hop is shown with device, table and rule, and the frame as it leaves, or where and why it was "
        "dropped.\n\n"
        "Exit codes: 0 a copy of the frame leaves the device (with --both-ways: and comes back as it went), 1 not so, "
        "2 bad input. With --pcap-in: 0 at least one frame leaves.");
    return {command, [send] { return send->run(); }};
}

}  // namespace vorn_onu
