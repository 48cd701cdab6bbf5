// Where a scenario that takes everything back in the end can stop: with its services in place.
#ifndef VORN_ONU_FULLEST_STEP_H
#define VORN_ONU_FULLEST_STEP_H

#include <cstddef>

#include "running/scenario/Scenario.h"

namespace vorn_onu {

// The number of the step after which most is on the device, from a run in a process of its own: this one's HAL and
// board stay as they are. 0 where nothing is taken back after it, or where the run ends early.
std::size_t fullestStep(const Scenario& scenario);

}  // namespace vorn_onu

#endif
