#include "RuleAgreement.h"

#include <algorithm>
#include <iterator>

#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "VirtualOnu.h"

namespace fault_sweep {

namespace {

constexpr unsigned kHighestPhyId = 65535;

// A management host's pop rule stands on the bridge's PON device but is recorded under the bridge's name.
std::string tableDevice(const std::string& recordedUnder, const std::set<RulePlace>& onDevice, const RulePlace& rule) {
    if (recordedUnder.rfind("br", 0) != 0 || onDevice.count(rule) != 0) return recordedUnder;
    const RulePlace onPon{"gpon" + recordedUnder.substr(2), rule.direction, rule.tags, rule.id};
    return onDevice.count(onPon) != 0 ? onPon.device : recordedUnder;
}

void collect(EtherSwitchBcm380& engine, const std::string& device, unsigned phyId, const std::set<RulePlace>& onDevice,
             std::set<RulePlace>& map) {
    VLAN_RULE_MAP_ENTRY* entry = nullptr;
    if (!engine.findVlanRuleMapEntry(device.c_str(), static_cast<unsigned short>(phyId), &entry)) return;
    const auto add = [&](const VLAN_RULE_INFO& rule) {
        RulePlace place{device, rule.dir, rule.nbrOfTags, rule.tagRuleId};
        place.device = tableDevice(device, onDevice, place);
        map.insert(place);
    };
    std::for_each_n(entry->newRules, entry->nbrOfNewRules, add);
    std::for_each_n(entry->oldRules, entry->nbrOfOldRules, add);
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

std::string RulePlace::text() const {
    return device + (direction == virtual_onu::kReceive ? " rx " : " tx ") + std::to_string(tags) + " tags, rule " +
           std::to_string(id);
}

RuleAgreement compareRules(const std::set<std::string>& devices, unsigned phyIds) {
    const auto& onu = virtual_onu::VirtualOnu::instance();
    std::set<RulePlace> onDevice, inMap, neededNoRecord;
    std::set<std::string> names = devices;
    for (const auto& table : onu.ruleTables()) {
        names.insert(table.device);
        for (const auto& rule : table.rules) {
            const RulePlace place{table.device, table.direction, table.tags, rule.id};
            onDevice.insert(place);
            if (needsNoRecord(table.device, rule)) neededNoRecord.insert(place);
        }
    }
    for (const auto& device : onu.devices()) names.insert(device.name);
    auto& engine = *EtherSwitchBcm380::getInstance();
    for (const auto& name : names) {
        for (unsigned phyId = 0; phyId < phyIds; ++phyId) collect(engine, name, phyId, onDevice, inMap);
        if (phyIds <= kHighestPhyId) collect(engine, name, kHighestPhyId, onDevice, inMap);
    }
    RuleAgreement result;
    result.recorded = inMap.size();
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
