// Which forwarding holds in this process. Chosen once, before anything is provisioned.
#ifndef BRCM_BCM968580_DATA_FORWARDING_MODE_H
#define BRCM_BCM968580_DATA_FORWARDING_MODE_H

#include <cstdint>

namespace forwarding {

enum class Mode : std::uint8_t { Contract, G988 };

// False when it is settled already.
bool choose(Mode mode);
// Without settling it.
Mode chosen();
// Settles it: by what was chosen, else by the environment, else the contract.
Mode settled();

inline bool isG988() {
    return settled() == Mode::G988;
}

}  // namespace forwarding

#endif
