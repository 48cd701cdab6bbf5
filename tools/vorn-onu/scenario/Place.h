// Where the steps of a scenario run.
#ifndef VORN_ONU_PLACE_H
#define VORN_ONU_PLACE_H

#include <memory>
#include <string>
#include <vector>

#include "scenario/Scenario.h"

class VornHal;

namespace vorn_onu {

class Place {
public:
    virtual ~Place() = default;
    virtual VornHal* hal() = 0;  // null where it is in another process

    struct Answer {
        StepResult result;
        std::vector<std::string> warnings;  // where the HAL did what its caller may not expect
    };
    // What goes wrong is a failure of the step.
    virtual Answer run(const Step& step, RunContext& context) = 0;
};

// This process; or, for a scenario with restarts, a process for each part of it beside this one, on a board that they
// share. newBoard: the board is made for them; otherwise the one that is open. Throws std::runtime_error.
std::unique_ptr<Place> placeFor(const Scenario& scenario, bool newBoard);

// The step in this process. What it throws is a failure.
StepResult runHere(const Step& step, RunContext& context);

}  // namespace vorn_onu

#endif
