// A scenario file of any content: understood, or refused with the one line for the user.
#include <sys/mman.h>

#include <string>

#include "Fuzz.h"
#include "running/scenario/Scenario.h"

int LLVMFuzzerInitialize(int*, char***) {
    silence();
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const int file = memfd_create("scenario", MFD_CLOEXEC);
    FUZZ_EXPECT(ftruncate(file, 0) == 0 && pwrite(file, data, size, 0) == static_cast<ssize_t>(size));
    try {
        const auto scenario = vorn_onu::loadScenario("/proc/self/fd/" + std::to_string(file));
        for (const auto& step : scenario.steps) FUZZ_EXPECT(step.run != nullptr);
    } catch (const vorn_onu::BadScenario& bad) {
        FUZZ_EXPECT(std::string(bad.what()).find('\n') == std::string::npos);
    }
    return 0;
}
