// Faults that are armed, in words.
#ifndef VORN_ONU_FAULT_WORDS_H
#define VORN_ONU_FAULT_WORDS_H

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace vorn_onu {

// A line each for the member "faults" of a state: "call 2 of tmctl_setQueueCfg from now on fails with 9", "the next 3
// answers to the OLT are not sent".
std::vector<std::string> faultWords(const nlohmann::json& faults);

}  // namespace vorn_onu

#endif
