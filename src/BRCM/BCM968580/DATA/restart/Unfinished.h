// What an operation had begun when the process ended.
#ifndef BRCM_BCM968580_DATA_RESTART_UNFINISHED_H
#define BRCM_BCM968580_DATA_RESTART_UNFINISHED_H

#include <string>
#include <vector>

#include "state/Journal.h"

namespace restart {

// Whether the step is well formed.
bool isStep(const state::UnfinishedStep& step);

// The operation, with its arguments, that is to be finished whole; "" when there is none.
std::string wholeOperationOf(const std::vector<state::UnfinishedStep>& steps);

// What was being made is taken off the device, what was being taken away is taken away to its end, the last step first.
// The maps are as they were before the operation, and stay so but for what has gone. Runs no shell command.
void settleUnfinished(const std::vector<state::UnfinishedStep>& steps);

}  // namespace restart

#endif
