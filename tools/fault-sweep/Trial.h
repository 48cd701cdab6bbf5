// One run of a scenario with one failing call, in a process of its own, and what is looked at afterwards.
#ifndef FAULT_SWEEP_TRIAL_H
#define FAULT_SWEEP_TRIAL_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "scenario/Scenario.h"

namespace fault_sweep {

// A scenario with its way back, and what a run without a fault has shown.
struct Subject {
    std::string file;
    vorn_onu::Scenario scenario;
    vorn_onu::Scenario takeDown;
    std::uint64_t calls = 0;  // that a fault can hit
    // Of the device after each step: on a new board, and after everything has been taken down once.
    std::vector<std::string> freshStates;
    std::vector<std::string> usedStates;
};

struct Findings {
    std::uint64_t calls = 0;
    bool hit = false;                          // the fault's number was reached
    std::string failedCall;                    // as the trace has it
    std::vector<std::string> problems;         // what nothing explains
    std::map<std::string, unsigned> accepted;  // what the contract says stays: reason, how often
    std::vector<std::string> freshStates;      // of the run without a fault only
    std::vector<std::string> usedStates;
};

// Runs in the calling process, which must not have used the HAL before: its maps live as long as it does. call 0 is the
// run without a fault.
Findings runTrial(const Subject& subject, std::uint64_t call, int code);

}  // namespace fault_sweep

#endif
