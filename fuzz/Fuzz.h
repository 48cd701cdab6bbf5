// What a fuzz target needs that drives the library on the virtual ONU.
#ifndef FUZZ_FUZZ_H
#define FUZZ_FUZZ_H

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "Expect.h"
#include "VirtualOnu.h"

inline virtual_onu::VirtualOnu& onu() {
    return virtual_onu::VirtualOnu::instance();
}
inline EtherSwitchBcm380& engine() {
    static EtherSwitchBcm380& only = *EtherSwitchBcm380::getInstance();
    return only;
}

// The library prints a line for nearly everything; the fuzzer's own words go to standard error. VORN_FUZZ_SHOW=1 lets
// the library speak, for a look at one input.
inline void silence() {
    if (std::getenv("VORN_FUZZ_SHOW") != nullptr) return;
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);
    close(nowhere);
}

#endif
