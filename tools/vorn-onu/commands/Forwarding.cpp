#include "commands/Forwarding.h"

#include <stdexcept>

#include "hal/HalForwarding.h"

namespace vorn_onu {

void useForwarding(const std::string& word) {
    if (vorn_hal_set_forwarding(word == kByG988 ? VORN_HAL_FORWARDING_G988 : VORN_HAL_FORWARDING_CONTRACT) != 0)
        throw std::runtime_error("the HAL is in use: its forwarding cannot be chosen any more");
}

std::string forwardingWords(const std::string& word) {
    return word == kByG988 ? "Forwarding as G.988 says" : "Forwarding by the HAL's contract";
}

}  // namespace vorn_onu
