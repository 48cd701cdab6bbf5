// Does the engine's rule map say the same as the device's tag-rule tables?
#ifndef FAULT_SWEEP_RULE_AGREEMENT_H
#define FAULT_SWEEP_RULE_AGREEMENT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

namespace fault_sweep {

// What vlanctl needs to find a rule.
struct RulePlace {
    std::string device;
    unsigned direction = 0;
    unsigned tags = 0;
    std::uint32_t id = 0;
    bool operator<(const RulePlace& other) const {
        return std::tie(device, direction, tags, id) < std::tie(other.device, other.direction, other.tags, other.id);
    }
    std::string table() const;  // "sid0 rx 1"
    std::string text() const;   // "sid0 rx 1 tags, rule 7"
};

struct RuleAgreement {
    std::vector<RulePlace> onlyOnDevice;  // nobody will ever remove these (but see needsNoRecord)
    std::vector<RulePlace> onlyInMap;     // a removal of these finds nothing
};

RuleAgreement compareRules();

}  // namespace fault_sweep

#endif
