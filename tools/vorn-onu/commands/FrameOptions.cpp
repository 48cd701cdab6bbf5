#include "commands/FrameOptions.h"

#include <map>

#include <CLI/CLI.hpp>

namespace vorn_onu {

namespace {

// The tag that an option belongs to: each --vlan begins one, what follows it describes it.
TypedTag& tagOf(TypedFrame& send, const std::string& option) {
    if (send.tags.empty()) throw CLI::ValidationError(option, "belongs behind the --vlan that it describes");
    return send.tags.back();
}

}  // namespace

FrameOptions addFrameOptions(CLI::App& command, TypedFrame& frame) {
    FrameOptions options{};
    options.from =
        command
            .add_option("--from", frame.from, "where it arrives: sid0, veip0 from the gateway's side, or \"gem 1001\"")
            ->type_name("PORT");
    options.vlan =
        command.add_option("--vlan", "a tag's VLAN id; again for each tag, outermost first")->type_name("VID");
    options.pbits = command.add_option("--pbits", "p-bits of the tag before it, 0 to 7")->type_name("N");
    options.tpid = command.add_option("--tpid", "TPID of the tag before it, such as 0x88a8")->type_name("TPID");
    options.dei = command.add_flag("--dei", "the tag before it is drop eligible");
    for (CLI::Option* option : {options.vlan, options.pbits, options.tpid})
        option->expected(1)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    command.add_option("--ethertype", frame.etherType, "ipv4 (which it is otherwise), ipv6, arp, 0x8863, ...")
        ->type_name("TYPE");
    command.add_option("--protocol", frame.ipProtocol, "IP protocol: igmp, udp, tcp or a number")
        ->type_name("PROTOCOL");
    command.add_option("--dscp", frame.dscp, "DSCP of an IP packet, 0 to 63")->type_name("N");
    command.add_option("--source", frame.source, "source MAC address")->type_name("MAC");
    command.add_option("--destination", frame.destination, "destination MAC address; otherwise one that nobody knows")
        ->type_name("MAC");
    command.add_option("--payload", frame.payload, "octets behind the frame's type word, which an MTU limits")
        ->type_name("N");
    options.bothWays = command.add_flag("--both-ways", frame.bothWays,
                                        "send what came out back again, and tell whether it comes back as it went");
    return options;
}

void readTags(const CLI::App& command, const FrameOptions& options, TypedFrame& send) {
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

}  // namespace vorn_onu
