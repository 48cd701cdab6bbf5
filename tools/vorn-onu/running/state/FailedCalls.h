// Calls into the device kit that failed, in words: what was asked, what came back, in which step, and why where that is
// known.
#ifndef VORN_ONU_FAILED_CALLS_H
#define VORN_ONU_FAILED_CALLS_H

#include <cstdint>
#include <string>
#include <vector>

#include "running/state/DeviceState.h"

namespace vorn_onu {

// A step of a run, as far as a failed call can come from it.
struct RunStep {
    std::size_t number = 0;
    std::string kind, name, words;
    std::uint64_t lastTraceEntry = 0;  // number of the last entry of the trace when the step was over
};

struct FailedCallWords {
    std::string call;        // "gponCtl_enableGemPort(1, 1001, 1)"
    std::string answer;      // "answered 2 (ENOENT, no such file or directory), twice"
    std::string step;        // "in step 7, gemflow_add"; "" where the steps are not known
    std::size_t inStep = 0;  // its number; 0 where the steps are not known
    std::string cause;       // "there is no such GEM port"; "" where it is not known
    std::string sentence() const;
};

// In the order of the calls. The same failure in the same step is reported once, also where its arguments' numbers
// differ; without steps, the same failure of all calls.
std::vector<FailedCallWords> failedCallWords(const std::vector<FailedCall>& calls, const std::vector<RunStep>& steps);

}  // namespace vorn_onu

#endif
