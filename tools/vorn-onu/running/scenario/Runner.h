// Runs the steps of a scenario against a virtual ONU.
#ifndef VORN_ONU_RUNNER_H
#define VORN_ONU_RUNNER_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "running/scenario/Scenario.h"
#include "running/scenario/StepRecord.h"

namespace vorn_onu {

struct RunOptions {
    bool trace = false;
    bool realTime = false;
    bool strict = false;       // a failing call into the device kit is a failure, unless a fault step asked for it
    std::string boardFile;     // of the board that is open, on which the scenario begins; "" for a new one
    std::size_t lastStep = 0;  // stop after this one; 0 runs them all
};

// Called after every step, as it ends.
using StepListener = std::function<void(const StepRecord&)>;

// A fault that never fired is a failure: a last record, of the scenario's end, tells it.
std::vector<StepRecord> runScenario(const Scenario& scenario, const RunOptions& options, const StepListener& listener);

// Finds the moment at which the device holds most: scenarios often take everything back in the end. Asked after
// every step; true when there is at least as much as ever before.
class FullestMoment {
public:
    bool isNow(const virtual_onu::VirtualOnu& onu);

private:
    std::size_t maxLines_ = 0;
};

}  // namespace vorn_onu

#endif
