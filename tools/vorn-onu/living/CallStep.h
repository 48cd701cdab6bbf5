// Calls of the HAL as steps of a scenario.
#ifndef VORN_ONU_CALL_STEP_H
#define VORN_ONU_CALL_STEP_H

#include <string>

#include "omci/services/HalCall.h"
#include "running/scenario/Scenario.h"

namespace vorn_onu {

// {"call": ..., the fields that are not as they are when they are left out}
Json callStep(const omci::services::HalCall& call);
// The same as a step that a scenario would have, but for what runs it.
Step asStep(const Json& callStep, std::size_t number);
Step asStep(const omci::services::HalCall& call, std::size_t number);
// The fields in words: "bridgeId 3, uniPort 0".
std::string callWords(const Json& step);

}  // namespace vorn_onu

#endif
