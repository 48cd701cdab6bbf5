#include "BRCM/BCM968580/DATA/forwarding/Mode.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "hal/HalForwarding.h"

namespace forwarding {

namespace {

std::optional<Mode> setMode;
bool isSettled = false;

const char* variable() {
    const char* const value = std::getenv(VORN_HAL_FORWARDING_VARIABLE);
    return value == nullptr ? "" : value;
}

Mode modeOfVariable() {
    return std::strcmp(variable(), "g988") == 0 ? Mode::G988 : Mode::Contract;
}

bool isKnown(const char* value) {
    return *value == '\0' || std::strcmp(value, "contract") == 0 || std::strcmp(value, "g988") == 0;
}

}  // namespace

bool choose(Mode mode) {
    if (isSettled) return false;
    setMode = mode;
    return true;
}

Mode chosen() {
    return setMode ? *setMode : modeOfVariable();
}

Mode settled() {
    if (isSettled) return *setMode;
    if (!setMode && !isKnown(variable()))
        std::printf("%s is neither contract nor g988: the contract holds\n", VORN_HAL_FORWARDING_VARIABLE);
    setMode = chosen();
    isSettled = true;
    return *setMode;
}

}  // namespace forwarding
