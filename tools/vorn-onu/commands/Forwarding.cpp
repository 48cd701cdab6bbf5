#include "commands/Forwarding.h"

#include <cstdlib>
#include <stdexcept>

#include "hal/HalForwarding.h"

namespace vorn_onu {

void useForwarding(const std::string& word) {
    if (vorn_hal_set_forwarding(word == kByG988 ? VORN_HAL_FORWARDING_G988 : VORN_HAL_FORWARDING_CONTRACT) != 0)
        throw std::runtime_error("the HAL is in use: its forwarding cannot be chosen any more");
}

std::string forwardingOf(const std::string& option, const Scenario& scenario) {
    if (!option.empty()) return option;
    if (!scenario.forwarding.empty()) return scenario.forwarding;
    const char* const variable = std::getenv(VORN_HAL_FORWARDING_VARIABLE);  // NOLINT(concurrency-mt-unsafe)
    const std::string word = variable == nullptr ? "" : variable;
    if (!word.empty() && word != kByContract && word != kByG988)
        throw std::invalid_argument(std::string(VORN_HAL_FORWARDING_VARIABLE) + ": must be " + kByContract + " or " +
                                    kByG988 + ", not '" + word + "'");
    return word.empty() ? kByContract : word;
}

std::string forwardingWords(const std::string& word) {
    return word == kByG988 ? "Forwarding as G.988 says" : "Forwarding by the HAL's contract";
}

}  // namespace vorn_onu
