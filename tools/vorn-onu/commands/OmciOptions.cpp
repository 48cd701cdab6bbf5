#include <memory>

#include <CLI/CLI.hpp>

#include "commands/BoardOptions.h"
#include "commands/CommandLine.h"
#include "commands/Commands.h"
#include "commands/ForwardingOptions.h"
#include "commands/FrameOptions.h"
#include "commands/LogOptions.h"
#include "commands/TapOptions.h"

namespace vorn_onu {

Command addOmci(CLI::App& app) {
    const auto omci = std::make_shared<OmciCommand>();
    CLI::App* command = app.add_subcommand("omci", "tell what the ONU does with the messages of an OLT");
    CLI::Option* file = command
                            ->add_option("FILE", omci->file,
                                         "a capture (pcap or pcapng) of the management channel, or text with a message "
                                         "in hexadecimal digits on each line")
                            ->type_name("");
    CLI::Option* listen = command
                              ->add_option("--listen", omci->listenAddress,
                                           "be an ONU for an OLT at unix:PATH or udp:127.0.0.1:PORT until SIGTERM: a "
                                           "datagram is a message; at an address that other machines reach, "
                                           "udp:0.0.0.0:PORT, with --peer and --mic cmac:KEY only")
                              ->type_name("ADDRESS")
                              ->excludes(file);
    command
        ->add_option(
            "--peer", omci->peer,
            "with --listen udp: take datagrams of this address or network (10.0.0.0/16) alone; what others send "
            "is dropped and counted")
        ->type_name("ADDRESS")
        ->needs(listen);
    addBoardName(*command, omci->name, "with --listen")->needs(listen);
    addMetricsOption(*command, omci->metrics, "with --listen")->needs(listen);
    addIdentityOptions(*command, omci->board);
    addBoardFile(*command, omci->board, "the OLT")->needs(listen);
    addCountOption(*command, "--until", omci->until, "stop after this message")->excludes(listen);
    const FrameOptions frame = addFrameOptions(*command, *omci);
    for (CLI::Option* option : {frame.vlan, frame.bothWays}) option->needs(frame.from);
    addFileOption(*command, "--json", omci->jsonFile,
                  "write messages, HAL calls and device state as JSON; - is standard output; with --listen the state "
                  "as it is, every second in which it has changed");
    addFileOption(*command, "--report", omci->reportFile, "write a report as one HTML page");
    addFileOption(*command, "--pcap", omci->pcapFile, "write the frame of --from, and where it left, for Wireshark")
        ->needs(frame.from);
    addFileOption(*command, "--record", omci->recordFile, "write the HAL's calls as a scenario");
    command
        ->add_flag("--audit", omci->audit,
                   "compare what the device does with frames with what G.988 says of the rows and filters asked for")
        ->excludes(listen);
    addTapOption(*command, omci->taps)->needs(listen);
    addCountOption(*command, "--keep", omci->kept,
                   "with --listen: keep so many messages, and five times as many calls into the device, to be looked "
                   "at later; otherwise 100, with --json or --report 1,000 and 200,000 calls")
        ->needs(listen);
    command
        ->add_option(
            "--mic", omci->mic,
            "the integrity codes of messages: crc, none (not looked at), or cmac: and OMCI_IK in 32 hexadecimal "
            "digits; by default as the first message has them, and of a FILE CRC-32 where one is right")
        ->type_name("KIND");
    addFileOption(*command, "--capture", omci->captureFile,
                  "write the exchange as it comes, for Wireshark and to be played again (pcapng)")
        ->needs(listen);
    command
        ->add_option(
            "--layout", omci->layout,
            "the instance numbers of another ONU, where a capture has no MIB upload that tells them: "
            "KEY=INSTANCES or a file with such keys in JSON, several times; keys are ethernetPorts, veips, tConts, "
            "ani, upstreamQueues, downstreamQueues; instances are 0x0A01, 0x0A01..0x0A04, or several with commas")
        ->type_name("LAYOUT")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    CLI::Option* log = command->add_flag(
        "--log", omci->log, "show a line a message: time, direction, transaction, type, entity, result, latency");
    addLogOptions(*command, {omci->logValues, omci->logBytes, omci->logClasses, omci->logInstances, omci->logTypes},
                  "with --log: ", log);
    command->add_flag("--strict", omci->strict,
                      "a refused message is a failure even where the capture has the same refusal");
    command->add_flag("--quiet", omci->quiet, "show only what is not as in the capture");
    addForwardingOption(*command, omci->forwarding);
    command->callback([omci, command, frame] { readTags(*command, frame, *omci); });
    command->footer(
        "Each message is shown with its entity and attributes in words, the ONU's answer, how that differs from the "
        "answer in the capture, and the calls of the HAL that came of it; then the calls with the messages behind "
        "them, and what is on the device. Captures hold Ethernet frames of type 0x88b5, or messages as such (user "
        "link types). In text, times, prefix words, offsets and comments (#) are passed over.\n\n"
        "Exit codes: 0 every message was answered with success or as in the capture, 1 one was refused or has another "
        "result than the capture's, a call of the HAL failed, or the frame of --from is dropped (with --both-ways: or "
        "does not come back as it went), 2 bad input.");
    return {command, [omci] { return omci->run(); }, true};
}

}  // namespace vorn_onu
