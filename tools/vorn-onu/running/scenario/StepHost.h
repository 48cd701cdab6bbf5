// Where the steps of a scenario run.
#ifndef VORN_ONU_STEP_HOST_H
#define VORN_ONU_STEP_HOST_H

#include <memory>
#include <string>
#include <vector>

#include "running/scenario/Scenario.h"

class VornHal;

namespace vorn_onu {

class StepHost {
public:
    virtual ~StepHost() = default;
    virtual VornHal* hal() = 0;  // null where it is in another process

    struct Answer {
        StepResult result;
        std::vector<std::string> warnings;  // where the HAL did what its caller may not expect
    };
    // What goes wrong is a failure of the step.
    virtual Answer run(const Step& step, RunContext& context) = 0;
};

// This process; or, for a scenario in parts, a process for each of them beside this one, on a board that they share.
// boardFile: the file of the board that is open; "": they get one of their own. The HAL's state file, where the
// scenario wants one, is FILE.state beside the board's, so that the next run goes on with both.
// Throws std::runtime_error.
std::unique_ptr<StepHost> stepHostFor(const Scenario& scenario, const std::string& boardFile);

}  // namespace vorn_onu

#endif
