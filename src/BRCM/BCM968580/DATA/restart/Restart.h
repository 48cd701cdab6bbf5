// The two functions of hal/HalState.h, with the same results.
#ifndef BRCM_BCM968580_DATA_RESTART_RESTART_H
#define BRCM_BCM968580_DATA_RESTART_RESTART_H

namespace restart {

int openState(const char* path);
int cleanDevice();  // CleanDevice.cpp

}  // namespace restart

#endif
