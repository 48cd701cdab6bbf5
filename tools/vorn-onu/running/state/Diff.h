// What differs between two states of a device, in words.
#ifndef VORN_ONU_DIFF_H
#define VORN_ONU_DIFF_H

#include <string>
#include <vector>

#include "running/state/DeviceState.h"

namespace vorn_onu {

// One line for each difference, by subject: devices, bridges, rules, PON, the rest. Empty: the states are alike. What
// differs after the same work done twice (interface indexes, rule ids) is no difference.
std::vector<std::string> differences(const DeviceState& before, const DeviceState& after);

}  // namespace vorn_onu

#endif
