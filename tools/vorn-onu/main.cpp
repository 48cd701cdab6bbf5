#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <map>

#include <CLI/CLI.hpp>

#include "commands/Commands.h"

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
    command->add_option("--report", run.reportFile, "write a report as one HTML page");
    command->add_option("--pcap", run.pcapFile, "write the frames of the scenario's frame steps for Wireshark");
    command->add_flag("--hal-output", run.halOutput, "show what the HAL prints below the step that made it print");
    command->add_flag("--real-time", run.realTime, "let waits take their time");
    command->add_flag("--quiet", run.quiet, "show failures only");
}

// The tag that an option belongs to: each --vlan begins one, what follows it describes it.
TypedTag& tagOf(SendCommand& send, const std::string& option) {
    if (send.tags.empty()) throw CLI::ValidationError(option, "stands behind the --vlan that it describes");
    return send.tags.back();
}

void addSend(CLI::App& app, SendCommand& send) {
    CLI::App* command = app.add_subcommand("send", "tell where a frame goes once a scenario's services stand");
    command->add_option("FILE", send.scenario, "the scenario")->required();
    command->add_option("--from", send.from, "where it arrives: sid0, veip0, or \"gem 1001\"")->required();
    CLI::Option* vlan = command->add_option("--vlan", "a tag's VLAN id; again for each tag, outermost first");
    CLI::Option* pbits = command->add_option("--pbits", "p-bits of the tag before it");
    CLI::Option* tpid = command->add_option("--tpid", "TPID of the tag before it, such as 0x88a8");
    CLI::Option* dei = command->add_flag("--dei", "the tag before it is drop eligible");
    for (CLI::Option* option : {vlan, pbits, tpid})
        option->expected(1)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    command->add_option("--ethertype", send.etherType, "ipv4 (which it is otherwise), ipv6, arp, 0x8863, ...");
    command->add_option("--protocol", send.ipProtocol, "IP protocol: igmp, udp, tcp or a number");
    command->add_option("--dscp", send.dscp, "DSCP of an IP packet");
    command->add_option("--source", send.source, "source MAC address");
    command->add_option("--destination", send.destination, "destination MAC address; otherwise one that nobody knows");
    command->add_option("--after-step", send.afterStep,
                        "stop the scenario after this step; otherwise when most stands on the device");
    command->add_flag("--json", send.json, "answer in JSON");
    command->callback([&send, command, vlan, pbits, tpid, dei] {
        std::map<const CLI::Option*, std::size_t> seen;
        for (const CLI::Option* option : command->parse_order()) {
            if (option != vlan && option != pbits && option != tpid && option != dei) continue;
            const std::string value = option->results().at(seen[option]++);
            if (option == vlan) send.tags.push_back({value, "", "", false});
            TypedTag& tag = tagOf(send, option->get_name());
            if (option == pbits) tag.pbits = value;
            if (option == tpid) tag.tpid = value;
            if (option == dei) tag.dei = true;
        }
    });
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

void addInfo(CLI::App& app, InfoCommand& info) {
    CLI::App* command = app.add_subcommand("info", "tell what the HAL reports of the board: identity, optics, links");
    command->add_option("FILE", info.scenario, "a scenario that sets the board up first");
    command->add_flag("--json", info.json, "answer in JSON");
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
    SendCommand send;
    ExecCommand exec;
    DiffCommand diff;
    InfoCommand info;
    addRun(app, run);
    addSend(app, send);
    addExec(app, exec);
    addDiff(app, diff);
    addInfo(app, info);
    app.add_subcommand("schema", "print the JSON schema of scenarios");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kHeld : kBadInput;
    }
    if (app.got_subcommand("run")) leave(run.run());
    if (app.got_subcommand("send")) leave(send.run());
    if (app.got_subcommand("exec")) leave(exec.run());
    if (app.got_subcommand("diff")) leave(diff.run());
    if (app.got_subcommand("info")) leave(info.run());
    return printSchema();
}
