#include "hal/HalState.h"

#include "BRCM/BCM968580/DATA/restart/Restart.h"

int vorn_hal_state_open(const char* path) {
    return restart::openState(path);
}

int vorn_hal_clean_device() {
    return restart::cleanDevice();
}

int vorn_hal_state_settle() {
    return restart::settleState();
}
