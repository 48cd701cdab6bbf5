// Rules of vlanctl's tables that are known by what the state file says of them.
#ifndef BRCM_BCM968580_DATA_RESTART_RULE_TABLES_H
#define BRCM_BCM968580_DATA_RESTART_RULE_TABLES_H

#include <cstdint>
#include <optional>
#include <set>
#include <string>

namespace restart {

struct TableName {
    std::string device;
    std::uint8_t direction;
    std::uint8_t tags;
};

// None when vlanctl does not tell, as for a device that is not there.
std::optional<std::uint32_t> rulesOnDevice(const TableName& table);
// The ids of the table's rules in the maps and beside them.
std::set<std::uint32_t> knownRuleIds(const TableName& table);
std::uint32_t highestKnownRuleId();

// Takes out a rule whose insertion was noted, and whose operation did not end. The table had `before` rules then. Where
// the id did not get into the file, the number of rules tells whether vlanctl got to it; the rule is the one among the
// table's rules that nothing knows.
void takeBackRule(const TableName& table, std::uint32_t before, std::optional<std::uint32_t> id,
                  std::uint32_t highestId);

// Forgets the maps' rules in a table that is empty, or of a device that is gone. The number of rules.
std::size_t forgetRules(const TableName& table);
std::size_t forgetRulesOf(const std::string& device);

}  // namespace restart

#endif
