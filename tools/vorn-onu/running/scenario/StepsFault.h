// Faults that a scenario has asked for.
#ifndef VORN_ONU_STEPS_FAULT_H
#define VORN_ONU_STEPS_FAULT_H

#include <vector>

#include "running/scenario/expect/Context.h"

namespace vorn_onu {

// One failure for each fault that still waits for its call: such a scenario shows nothing of what it was written for.
std::vector<Failure> faultsThatNeverFired(const RunContext& context);

}  // namespace vorn_onu

#endif
