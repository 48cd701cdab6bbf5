#include "BRCM/BCM968580/DATA/restart/RuleTables.h"

#include <algorithm>

#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/TagRule.h"
#include "BRCM/BCM968580/DATA/restart/FactBook.h"
#include "BRCM/BCM968580/DATA/restart/RestartLog.h"
#include "platform/vlanctl.h"
#include "state/Facts.h"
#include "state/Journal.h"

namespace restart {

namespace {

// vlanctl counts its ids up, so an unknown one is most likely just above the highest known one.
constexpr std::uint32_t kIdsAbove = 64;
constexpr std::uint32_t kLowIds = 4096;

bool isIn(const VLAN_RULE_INFO& rule, const TableName& table) {
    return rule.dir == table.direction && rule.nbrOfTags == table.tags;
}

state::RuleTable factOf(const TableName& table) {
    return {table.device.c_str(), table.direction, table.tags};
}

bool takeOut(const TableName& table, std::uint32_t id) {
    const VlanCtlSession session;
    return vlanCtl_removeTagRule(table.device.c_str(), table.direction, table.tags, id) == 0;
}

// The rule that stands in the table beside the known ones.
bool takeOutUnknown(const TableName& table, std::uint32_t highestId) {
    const std::set<std::uint32_t> known = knownRuleIds(table);
    for (std::uint32_t id = highestId + 1; id != highestId + kIdsAbove; ++id)
        if (takeOut(table, id)) return true;
    for (std::uint32_t id = 0; id <= std::min(highestId, kLowIds); ++id)
        if (known.count(id) == 0 && takeOut(table, id)) return true;
    return false;
}

// Takes those out of the list that forget() names; the number of them.
template <typename Forget>
std::uint32_t thinOut(VLAN_RULE_INFO* rules, std::uint32_t count, Forget forget) {
    VLAN_RULE_INFO* const end = std::remove_if(rules, rules + count, forget);
    std::fill(end, rules + count, VLAN_RULE_INFO{});
    return static_cast<std::uint32_t>(rules + count - end);
}

template <typename Forget>
std::size_t forgetIf(const std::string& device, Forget forget) {
    std::size_t forgotten = 0;
    for (auto found = m_VLAN_RULE_MAP_ENTRY.begin(); found != m_VLAN_RULE_MAP_ENTRY.end();) {
        VLAN_RULE_MAP_ENTRY& entry = *found->second;
        const auto here = found++;
        if (device != entry.ifName) continue;
        const std::uint32_t active = thinOut(entry.newRules, entry.nbrOfNewRules, forget);
        const std::uint32_t old = thinOut(entry.oldRules, entry.nbrOfOldRules, forget);
        entry.nbrOfNewRules -= active;
        entry.nbrOfOldRules -= old;
        if (active + old == 0) continue;
        forgotten += active + old;
        state::touched(state::Book::Rules, entry.ifName, entry.phyId);
        if (entry.nbrOfNewRules + entry.nbrOfOldRules == 0) m_VLAN_RULE_MAP_ENTRY.erase(here);
    }
    return forgotten;
}

}  // namespace

std::optional<std::uint32_t> rulesOnDevice(const TableName& table) {
    const VlanCtlSession session;
    unsigned int count = 0;
    if (vlanCtl_getNbrOfRulesInTable(table.device.c_str(), table.direction, table.tags, &count) != 0)
        return std::nullopt;
    return count;
}

std::set<std::uint32_t> knownRuleIds(const TableName& table) {
    std::set<std::uint32_t> ids;
    for (const auto& [key, entry] : m_VLAN_RULE_MAP_ENTRY) {
        if (key.ifName != table.device) continue;
        for (std::uint32_t i = 0; i < entry->nbrOfNewRules; ++i)
            if (isIn(entry->newRules[i], table)) ids.insert(entry->newRules[i].tagRuleId);
        for (std::uint32_t i = 0; i < entry->nbrOfOldRules; ++i)
            if (isIn(entry->oldRules[i], table)) ids.insert(entry->oldRules[i].tagRuleId);
    }
    for (const LooseRule& rule : knownLooseRules())
        if (rule.device == table.device && rule.direction == table.direction && rule.tags == table.tags)
            ids.insert(rule.id);
    return ids;
}

std::uint32_t highestKnownRuleId() {
    std::uint32_t highest = 0;
    for (const auto& [key, entry] : m_VLAN_RULE_MAP_ENTRY) {
        for (std::uint32_t i = 0; i < entry->nbrOfNewRules; ++i)
            highest = std::max(highest, entry->newRules[i].tagRuleId);
        for (std::uint32_t i = 0; i < entry->nbrOfOldRules; ++i)
            highest = std::max(highest, entry->oldRules[i].tagRuleId);
    }
    for (const LooseRule& rule : knownLooseRules()) highest = std::max(highest, rule.id);
    return highest;
}

void takeBackRule(const TableName& table, std::uint32_t before, std::optional<std::uint32_t> id,
                  std::uint32_t highestId) {
    if (id) {
        takeOut(table, *id);
        return;
    }
    if (rulesOnDevice(table) != before + 1) return;  // vlanctl was not asked yet, or refused
    if (takeOutUnknown(table, highestId)) return;
    tell(LogText("%s direction %d tags %d: a rule of an unfinished operation stays, its id is not known",
                 table.device.c_str(), table.direction, table.tags));
    state::noteRulesInTable(factOf(table), before + 1);
}

std::size_t forgetRules(const TableName& table) {
    for (const LooseRule& rule : knownLooseRules())
        if (rule.device == table.device && rule.direction == table.direction && rule.tags == table.tags)
            state::ruleTaken(factOf(table), rule.id);
    return forgetIf(table.device, [&](const VLAN_RULE_INFO& rule) { return isIn(rule, table); });
}

std::size_t forgetRulesOf(const std::string& device) {
    return forgetIf(device, [](const VLAN_RULE_INFO&) { return true; });
}

}  // namespace restart
