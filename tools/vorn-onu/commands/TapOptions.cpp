#include "commands/TapOptions.h"

#include <CLI/CLI.hpp>

namespace vorn_onu {

CLI::Option* addTapOption(CLI::App& command, std::vector<std::string>& taps) {
    return command
        .add_option(
            "--tap", taps,
            "let real packets through: PORT (sid0, eth0, veip0, \"gem 1001\") is the TAP device INTERFACE of this "
            "machine, in the network namespace NETNS if one is named; made when it is not there; for several "
            "ports more than once")
        ->type_name("PORT=INTERFACE[@NETNS]")
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

}  // namespace vorn_onu
