#include "hal/HalForwarding.h"

#include <cstdio>

#include "BRCM/BCM968580/DATA/forwarding/Mode.h"

using forwarding::Mode;

int vorn_hal_set_forwarding(int forwarding) {
    if (forwarding != VORN_HAL_FORWARDING_CONTRACT && forwarding != VORN_HAL_FORWARDING_G988) {
        std::printf("vorn_hal_set_forwarding: there is no forwarding %d\n", forwarding);
        return -1;
    }
    if (forwarding::choose(forwarding == VORN_HAL_FORWARDING_G988 ? Mode::G988 : Mode::Contract)) return 0;
    std::printf("vorn_hal_set_forwarding: too late, the HAL is in use\n");
    return -1;
}

int vorn_hal_get_forwarding() {
    return forwarding::chosen() == Mode::G988 ? VORN_HAL_FORWARDING_G988 : VORN_HAL_FORWARDING_CONTRACT;
}
