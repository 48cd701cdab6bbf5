// What every fuzz target needs.
#ifndef FUZZ_FUZZ_H
#define FUZZ_FUZZ_H

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "VirtualOnu.h"

inline virtual_onu::VirtualOnu& onu() {
    return virtual_onu::VirtualOnu::instance();
}
inline EtherSwitchBcm380& engine() {
    static EtherSwitchBcm380& only = *EtherSwitchBcm380::getInstance();
    return only;
}

// What must hold whatever the input. Ends the process, which libFuzzer takes for a crash.
#define FUZZ_EXPECT(condition)                                                           \
    do {                                                                                 \
        if (!(condition)) {                                                              \
            std::fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                \
        }                                                                                \
    } while (false)

// The library prints a line for nearly everything; the fuzzer's own words go to standard error. VORN_FUZZ_SHOW=1 lets
// the library speak, for a look at one input.
inline void silence() {
    if (std::getenv("VORN_FUZZ_SHOW") != nullptr) return;
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);
    close(nowhere);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);

#endif
