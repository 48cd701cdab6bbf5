// The functions of hal/HalState.h, with the same results.
#ifndef BRCM_BCM968580_DATA_RESTART_RESTART_H
#define BRCM_BCM968580_DATA_RESTART_RESTART_H

#include <cstdint>

#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"

namespace restart {

inline EtherSwitchBcm380& engine() {
    return *EtherSwitchBcm380::getInstance();
}

int openState(const char* path);
int cleanDevice();  // CleanDevice.cpp
int settleState();  // likewise
// A removal of the two that was interrupted: the runner refuses what has gone already.
void finishHostRemoval(std::uint16_t bridgeId, std::uint16_t uniPort);

}  // namespace restart

#endif
