// What a restart needs of the rule map beyond the engine's own operations.
#ifndef BRCM_BCM968580_DATA_RULE_MAP_H
#define BRCM_BCM968580_DATA_RULE_MAP_H

#include <cstddef>
#include <functional>
#include <string>

#include "BRCM/BCM968580/DATA/EngineRecords.h"
#include "kit/Rules.h"

kit::RuleTable tableOf(const VLAN_RULE_MAP_ENTRY& entry, const VLAN_RULE_INFO& rule);

// Erases the rules of a device, of any device for "", that `gone` says so of, those of the remove area first, and
// entries without a rule. The number of rules erased.
std::size_t eraseRulesIf(const std::string& device,
                         const std::function<bool(const VLAN_RULE_MAP_ENTRY&, const VLAN_RULE_INFO&)>& gone);

#endif
