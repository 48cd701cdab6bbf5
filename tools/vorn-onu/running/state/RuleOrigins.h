// Which step of a run a rule came from.
#ifndef VORN_ONU_RULE_ORIGINS_H
#define VORN_ONU_RULE_ORIGINS_H

#include <cstdint>
#include <map>
#include <tuple>
#include <vector>

#include "VirtualOnu.h"
#include "running/state/Services.h"

namespace vorn_onu {

class RuleOrigins {
public:
    // The rules that exist now and did not the last time came with this step, and are the answer.
    std::vector<MergedRule> take(const std::vector<virtual_onu::RuleTable>& tables, std::size_t step);
    // For each hop of a walk the step that its rule came with; 0 where no rule matched, or one from before all steps.
    std::vector<std::size_t> of(const virtual_onu::Walk& walk) const;

private:
    using Key = std::tuple<std::string, unsigned, unsigned, std::uint32_t>;  // device, direction, tags, id
    std::map<Key, std::size_t> steps_;
};

}  // namespace vorn_onu

#endif
