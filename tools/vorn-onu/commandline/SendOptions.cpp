#include <map>
#include <memory>

#include "commandline/CommandLine.h"
#include "commands/Commands.h"

namespace vorn_onu {

namespace {

// The tag that an option belongs to: each --vlan begins one, what follows it describes it.
TypedTag& tagOf(SendCommand& send, const std::string& option) {
    if (send.tags.empty()) throw CLI::ValidationError(option, "stands behind the --vlan that it describes");
    return send.tags.back();
}

struct TagOptions {
    CLI::Option *vlan, *pbits, *tpid, *dei;
};

// The tags in the order in which the words stand.
void readTags(const CLI::App& command, const TagOptions& options, SendCommand& send) {
    std::map<const CLI::Option*, std::size_t> seen;
    for (const CLI::Option* option : command.parse_order()) {
        if (option != options.vlan && option != options.pbits && option != options.tpid && option != options.dei)
            continue;
        const std::string value = option->results().at(seen[option]++);
        if (option == options.vlan) send.tags.push_back({value, "", "", false});
        TypedTag& tag = tagOf(send, option->get_name());
        if (option == options.pbits) tag.pbits = value;
        if (option == options.tpid) tag.tpid = value;
        if (option == options.dei) tag.dei = true;
    }
}

}  // namespace

Command addSend(CLI::App& app) {
    const auto send = std::make_shared<SendCommand>();
    CLI::App* command = app.add_subcommand("send", "tell where a frame goes once a scenario's services stand");
    command->add_option("FILE", send->scenario, "the scenario")->required()->type_name("");
    command->add_option("--from", send->from, "where it arrives: sid0, veip0 from the gateway's side, or \"gem 1001\"")
        ->required()
        ->type_name("PORT");
    TagOptions tags{};
    tags.vlan = command->add_option("--vlan", "a tag's VLAN id; again for each tag, outermost first")->type_name("VID");
    tags.pbits = command->add_option("--pbits", "p-bits of the tag before it, 0 to 7")->type_name("N");
    tags.tpid = command->add_option("--tpid", "TPID of the tag before it, such as 0x88a8")->type_name("TPID");
    tags.dei = command->add_flag("--dei", "the tag before it is drop eligible");
    for (CLI::Option* option : {tags.vlan, tags.pbits, tags.tpid})
        option->expected(1)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    command->add_option("--ethertype", send->etherType, "ipv4 (which it is otherwise), ipv6, arp, 0x8863, ...")
        ->type_name("TYPE");
    command->add_option("--protocol", send->ipProtocol, "IP protocol: igmp, udp, tcp or a number")
        ->type_name("PROTOCOL");
    command->add_option("--dscp", send->dscp, "DSCP of an IP packet, 0 to 63")->type_name("N");
    command->add_option("--source", send->source, "source MAC address")->type_name("MAC");
    command->add_option("--destination", send->destination, "destination MAC address; otherwise one that nobody knows")
        ->type_name("MAC");
    command->add_option("--payload", send->payload, "octets behind the frame's type word, which an MTU limits")
        ->type_name("N");
    CLI::Option* bothWays = command->add_flag(
        "--both-ways", send->bothWays, "send what came out back again, and tell whether it comes back as it went");
    CLI::Option* capture = command
                               ->add_option("--pcap-in", send->captureFile,
                                            "send the frames of this capture (pcap or pcapng), and tell what becomes "
                                            "of them")
                               ->type_name("FILE")
                               ->excludes(bothWays);
    command->add_option("--pcap", send->pcapFile, "write what left of the capture's frames, for Wireshark")
        ->type_name("FILE")
        ->needs(capture);
    command
        ->add_option("--after-step", send->afterStep,
                     "stop the scenario after this step; otherwise when most stands on the device")
        ->check(numberFrom(1))
        ->type_name("N");
    command->add_flag("--json", send->json, "answer in JSON");
    command->callback([send, command, tags] { readTags(*command, tags, *send); });
    command->footer(
        "Each hop is shown with device, table and rule, and the frame as it leaves, or where and why it was "
        "dropped.\n\n"
        "Exit codes: 0 a copy of the frame leaves the device (with --both-ways: and comes back as it went), 1 not so, "
        "2 bad input. With --pcap-in: 0 at least one frame leaves.");
    return {command, [send] { return send->run(); }};
}

}  // namespace vorn_onu
