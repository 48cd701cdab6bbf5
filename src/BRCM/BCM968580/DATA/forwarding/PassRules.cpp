#include "BRCM/BCM968580/DATA/forwarding/PassRules.h"

#include <algorithm>

#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/DATA/RuleMap.h"
#include "kit/Rules.h"

namespace forwarding {

namespace {

bool isRecorded(const kit::RuleTable& table, std::uint16_t phyId) {
    const auto found = m_VLAN_RULE_MAP_ENTRY.find({table.device, phyId});
    if (found == m_VLAN_RULE_MAP_ENTRY.end()) return false;
    const VLAN_RULE_MAP_ENTRY& entry = *found->second;
    return std::any_of(entry.newRules, entry.newRules + entry.nbrOfNewRules,
                       [&](const VLAN_RULE_INFO& rule) { return tableOf(entry, rule) == table; });
}

}  // namespace

bool insertPassRules(EtherSwitchBcm380& engine, const PassedDevice& passed) {
    const kit::VlanCtlSession session;
    for (std::uint32_t tags = 0; tags < passed.tagTables; ++tags)
        for (const std::uint32_t direction : {VLANCTL_DIRECTION_RX, VLANCTL_DIRECTION_TX}) {
            const kit::RuleTable table{passed.realDevice, direction, tags};
            if (isRecorded(table, passed.phyId)) continue;
            std::uint32_t id = VLANCTL_DONT_CARE;
            kit::TagRule rule;
            rule.bind(direction, passed.device);
            if (rule.result() != 0 || kit::insertRule(table, rule, {}, &id) != 0) return false;
            engine.insertVlanRuleMapEntry(passed.realDevice, passed.phyId, static_cast<std::uint16_t>(direction), tags,
                                          id);
        }
    return true;
}

bool removeRecordedRules(const std::string& realDevice, std::uint16_t phyId) {
    const kit::VlanCtlSession session;
    bool done = true;
    eraseRulesIf(realDevice, [&](const VLAN_RULE_MAP_ENTRY& entry, const VLAN_RULE_INFO& rule) {
        if (entry.phyId != phyId || !done) return false;
        done = kit::removePlannedRule(tableOf(entry, rule), rule.tagRuleId) == 0;
        return done;
    });
    return done;
}

}  // namespace forwarding
