// Rules that no frame can reach, because an earlier rule of their table takes all that they would take.
#ifndef VORN_ONU_RULE_REACH_H
#define VORN_ONU_RULE_REACH_H

#include <string>
#include <vector>

#include "running/state/DeviceState.h"

namespace vorn_onu {

// One line each, in words, naming the rule that hides it. A rule that is merely there twice is not listed: the
// second one changes nothing.
std::vector<std::string> unreachableRules(const DeviceState& state);

}  // namespace vorn_onu

#endif
