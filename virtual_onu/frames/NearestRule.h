// When no rule takes a frame: the rule that came nearest, and what was against it.
#ifndef VIRTUAL_ONU_NEAREST_RULE_H
#define VIRTUAL_ONU_NEAREST_RULE_H

#include <optional>

#include "frames/Plan.h"

namespace virtual_onu::datapath {

// txDevice is the VLAN device that the frame leaves through, kNoDevice on receive. Nothing where the table has no
// rules.
std::optional<NearestRule> nearestRule(const Plan& plan, const CompiledTable& table, const Frame& frame,
                                       std::optional<std::uint32_t> gemIndex, DeviceId txDevice);

}  // namespace virtual_onu::datapath

#endif
