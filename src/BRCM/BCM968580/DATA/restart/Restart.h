// The functions of hal/HalState.h, with the same results.
#ifndef BRCM_BCM968580_DATA_RESTART_RESTART_H
#define BRCM_BCM968580_DATA_RESTART_RESTART_H

#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"

namespace restart {

inline EtherSwitchBcm380& engine() {
    return *EtherSwitchBcm380::getInstance();
}

int openState(const char* path);
int cleanDevice();  // CleanDevice.cpp
int settleState();  // likewise

}  // namespace restart

#endif
