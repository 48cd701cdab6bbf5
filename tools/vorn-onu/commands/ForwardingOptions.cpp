#include "commands/ForwardingOptions.h"

#include <stdexcept>

#include <CLI/CLI.hpp>

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

void useForwarding(const std::string& word) {
    if (vorn_hal_set_forwarding(word == kByG988 ? VORN_HAL_FORWARDING_G988 : VORN_HAL_FORWARDING_CONTRACT) != 0)
        throw std::runtime_error("the HAL is in use: its forwarding cannot be chosen any more");
}

std::string forwardingWords(const std::string& word) {
    return word == kByG988 ? "Forwarding as G.988 says" : "Forwarding by the HAL's contract";
}

}  // namespace vorn_onu
