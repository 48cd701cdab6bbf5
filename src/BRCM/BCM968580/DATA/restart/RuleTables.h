// Rules of vlanctl's tables that are known by what the state file says of them.
#ifndef BRCM_BCM968580_DATA_RESTART_RULE_TABLES_H
#define BRCM_BCM968580_DATA_RESTART_RULE_TABLES_H

#include <cstdint>
#include <optional>
#include <set>
#include <string>

#include "kit/Rules.h"

namespace restart {

// None when vlanctl does not answer, as for a device that does not exist.
std::optional<std::uint32_t> rulesOnDevice(const kit::RuleTable& table);
// The ids of the table's rules in the maps and beside them.
std::set<std::uint32_t> knownRuleIds(const kit::RuleTable& table);
std::uint32_t highestKnownRuleId();

// Takes out a rule whose insertion was noted, and whose operation did not end. The table had `before` rules then. Where
// the id did not get into the file, the number of rules tells whether vlanctl got to it; the rule is the newest of the
// table then. Where more than one has come, all stay.
void takeBackRule(const kit::RuleTable& table, std::uint32_t before, std::optional<std::uint32_t> id,
                  std::uint32_t highestId);

// Forgets the maps' rules in a table that is empty, or of a device that is gone. The number of rules.
std::size_t forgetRules(const kit::RuleTable& table);
std::size_t forgetRulesOf(const std::string& device);
// Forgets one rule of the maps; a loose one is forgotten with its removal. False when there is neither.
bool forgetKnownRule(const kit::RuleTable& table, std::uint32_t id);

}  // namespace restart

#endif
