// Does the engine's rule map say the same as the device's tag-rule tables? Looked at through the engine's public
// operations, as any program beside it could.
#ifndef FAULT_SWEEP_RULE_AGREEMENT_H
#define FAULT_SWEEP_RULE_AGREEMENT_H

#include <cstdint>
#include <set>
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
    std::string text() const;  // "sid0 rx 1 tags, rule 7"
};

struct RuleAgreement {
    std::vector<RulePlace> onlyOnDevice;  // nobody will ever remove these (but see needsNoRecord)
    std::vector<RulePlace> onlyInMap;     // a removal of these finds nothing
    std::size_t recorded = 0;             // rules in the map
};

// Which second halves of the rule map's keys are looked at: UNI ports, GEM indexes and VEIP numbers below this one.
constexpr unsigned kUsualPhyIds = 40;
constexpr unsigned kAllPhyIds = 65536;

// devices: names to look under besides those that the virtual ONU has now.
RuleAgreement compareRules(const std::set<std::string>& devices, unsigned phyIds = kUsualPhyIds);

}  // namespace fault_sweep

#endif
