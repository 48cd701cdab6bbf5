#include "commands/ForwardingOptions.h"

#include <CLI/CLI.hpp>

#include "commands/Forwarding.h"
#include "hal/HalForwarding.h"

namespace vorn_onu {

void addForwardingOption(CLI::App& command, std::string& word) {
    command
        .add_option("--forwarding", word,
                    std::string("what frames of services go by: contract, what the HAL has always done, or g988, what "
                                "the standard's tables say; otherwise $") +
                        VORN_HAL_FORWARDING_VARIABLE + ", or " + word)
        ->type_name("WHAT")
        ->envname(VORN_HAL_FORWARDING_VARIABLE)
        ->check(CLI::IsMember({kByContract, kByG988}));
}

void addScenarioForwardingOption(CLI::App& command, std::string& word) {
    command
        .add_option("--forwarding", word,
                    std::string("what frames of services go by: contract, what the HAL has always done, or g988, what "
                                "the standard's tables say, whatever the scenario says; otherwise what it says, or $") +
                        VORN_HAL_FORWARDING_VARIABLE + ", or contract")
        ->type_name("WHAT")
        ->check(CLI::IsMember({kByContract, kByG988}));
}

}  // namespace vorn_onu
