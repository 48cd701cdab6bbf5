#include "RuleAgreement.h"

#include <algorithm>
#include <iterator>
#include <set>

#include "BRCM/BCM968580/DATA/EngineState.h"
#include "VirtualOnu.h"

namespace fault_sweep {

namespace {

// A management host's pop rule is on the bridge's PON device but is recorded under the bridge's name.
std::string tableDevice(const std::string& recordedUnder, const std::set<RulePlace>& onDevice, const RulePlace& rule) {
    if (recordedUnder.rfind("br", 0) != 0 || onDevice.count(rule) != 0) return recordedUnder;
    const RulePlace onPon{"gpon" + recordedUnder.substr(2), rule.direction, rule.tags, rule.id};
    return onDevice.count(onPon) != 0 ? onPon.device : recordedUnder;
}

std::set<RulePlace> recordedRules(const std::set<RulePlace>& onDevice) {
    std::set<RulePlace> all;
    for (const auto& [key, entry] : m_VLAN_RULE_MAP_ENTRY) {
        const auto add = [&, device = key.ifName](const VLAN_RULE_INFO& rule) {
            RulePlace place{device, rule.dir, rule.nbrOfTags, rule.tagRuleId};
            place.device = tableDevice(device, onDevice, place);
            all.insert(place);
        };
        std::for_each_n(entry->newRules, entry->nbrOfNewRules, add);
        std::for_each_n(entry->oldRules, entry->nbrOfOldRules, add);
    }
    return all;
}

// A rule that lets everything of its VLAN device pass: the engine makes some of these as defaults.
bool passesAll(const virtual_onu::TagRule& rule) {
    using Kind = virtual_onu::RuleTerm::Kind;
    return rule.terms.size() == 1 && (rule.terms[0].kind == Kind::RxDevice || rule.terms[0].kind == Kind::TxDevice);
}

// The engine keeps no record of its default pass rules and of a multicast service's rows on the VEIP's side: they stay
// when the service goes.
bool needsNoRecord(const std::string& device, const virtual_onu::TagRule& rule) {
    return device == "gpon0.0" || passesAll(rule);
}

}  // namespace

std::string RulePlace::table() const {
    return device + (direction == virtual_onu::kReceive ? " rx " : " tx ") + std::to_string(tags);
}

std::string RulePlace::text() const {
    return table() + " tags, rule " + std::to_string(id);
}

RuleAgreement compareRules() {
    std::set<RulePlace> onDevice, neededNoRecord;
    for (const auto& table : virtual_onu::VirtualOnu::instance().ruleTables()) {
        for (const auto& rule : table.rules) {
            const RulePlace place{table.device, table.direction, table.tags, rule.id};
            onDevice.insert(place);
            if (needsNoRecord(table.device, rule)) neededNoRecord.insert(place);
        }
    }
    const std::set<RulePlace> inMap = recordedRules(onDevice);
    RuleAgreement result;
    std::set_difference(onDevice.begin(), onDevice.end(), inMap.begin(), inMap.end(),
                        std::back_inserter(result.onlyOnDevice));
    std::set_difference(inMap.begin(), inMap.end(), onDevice.begin(), onDevice.end(),
                        std::back_inserter(result.onlyInMap));
    result.onlyOnDevice.erase(std::remove_if(result.onlyOnDevice.begin(), result.onlyOnDevice.end(),
                                             [&](const RulePlace& rule) { return neededNoRecord.count(rule) != 0; }),
                              result.onlyOnDevice.end());
    return result;
}

}  // namespace fault_sweep
