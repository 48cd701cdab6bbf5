// Runs every trial of a sweep, several at a time, each in a forked child, and gathers what they found.
#ifndef FAULT_SWEEP_SWEEP_H
#define FAULT_SWEEP_SWEEP_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Trial.h"

namespace fault_sweep {

struct SweepOptions {
    std::vector<std::string> files;
    unsigned every = 1;             // of the calls, only each so many
    unsigned pairs = 0;             // of the pairs of calls within one operation, each so many; 0: none
    unsigned onwards = 0;           // of the runs in which all calls from one on fail, each so many; 0: none
    unsigned most = 0;              // runs of each of these kinds for one scenario; 0: as many as there are
    std::optional<FaultPlan> only;  // these calls alone
    bool keepsState = false;        // the HAL has a state file
    bool verbose = false;           // name every finding, not only the first of a kind
    bool leaveByExit = false;       // let runs write coverage data at their end
};

struct Summary {
    std::uint64_t runs = 0, hits = 0, exceptions = 0;
    std::map<std::string, std::uint64_t> accepted;
    std::map<std::string, std::uint64_t> problems;  // text without numbers of the trial, runs that have it
    std::map<std::string, std::string> example;     // how to see it: "bridge.json --only 17"
};

// Prints progress to standard output. Throws vorn_onu::BadScenario.
Summary sweep(const SweepOptions& options);

}  // namespace fault_sweep

#endif
