// One run of a scenario with failing calls, in a process of its own, and what is looked at afterwards.
#ifndef FAULT_SWEEP_TRIAL_H
#define FAULT_SWEEP_TRIAL_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "FaultPlan.h"
#include "running/scenario/Scenario.h"

namespace fault_sweep {

// What a run without a fault has shown.
struct Measure {
    std::uint64_t calls = 0;  // that a fault can hit
    // Of the device after each step: on a new board, and after everything has been taken down once.
    std::vector<std::string> freshStates;
    std::vector<std::string> usedStates;
    // Lines of the state after everything has been taken down once: more than on a new board, and no longer there.
    std::vector<std::string> leftOvers;
    std::vector<std::string> lost;
    std::vector<std::string> leavesLeftOut;  // see Leaving.h
};

// A scenario with its removal.
struct Subject {
    std::string file;
    vorn_onu::Scenario scenario;
    vorn_onu::Scenario takeDown;
    Measure measure;
};

struct Findings {
    bool hit = false;                          // all calls of the plan were reached
    std::uint64_t endOfOperation = 0;          // the last call of the step in which the first one was
    std::string failedCalls;                   // the first ones, as the trace has them
    std::vector<std::string> problems;         // what nothing explains
    std::map<std::string, unsigned> accepted;  // what the contract says stays: reason, how often
    Measure measure;                           // of the run without a fault only
};

// Runs in the calling process, which must not have used the HAL before: its maps live as long as it does.
// With a stateFile, which must not be there yet, the HAL keeps its state in it.
Findings runTrial(const Subject& subject, const FaultPlan& plan, const std::string& stateFile);

}  // namespace fault_sweep

#endif
