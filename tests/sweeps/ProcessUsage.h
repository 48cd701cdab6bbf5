// What this process has of the machine.
#ifndef FAULT_SWEEP_PROCESS_USAGE_H
#define FAULT_SWEEP_PROCESS_USAGE_H

#include <filesystem>
#include <fstream>
#include <string>

namespace fault_sweep {

inline long residentKib() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        long value = 0;
        if (word == "VmRSS:" && status >> value) return value;
    }
    return 0;
}

inline long openDescriptors() {
    long count = 0;
    for ([[maybe_unused]] const auto& item : std::filesystem::directory_iterator("/proc/self/fd")) ++count;
    return count;
}

}  // namespace fault_sweep

#endif
