#include "BRCM/BCM968580/DATA/restart/RuleTables.h"

#include <algorithm>

#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/RuleMap.h"
#include "BRCM/BCM968580/DATA/restart/DeviceEntries.h"
#include "BRCM/BCM968580/DATA/restart/Forwarding.h"
#include "BRCM/BCM968580/DATA/restart/RestartLog.h"

namespace restart {

namespace {

// vlanctl counts its ids up, so an unknown one is most likely just above the highest known one.
constexpr std::uint32_t kIdsAbove = 64;
constexpr std::uint32_t kLowIds = 4096;

bool isIn(const VLAN_RULE_INFO& rule, const kit::RuleTable& table) {
    return rule.dir == table.direction && rule.nbrOfTags == table.tags;
}

bool takeOut(const kit::RuleTable& table, std::uint32_t id) {
    const kit::VlanCtlSession session;
    return kit::removeUncountedRule(table, id);
}

// The rule that is in the table beside the known ones.
bool takeOutUnknown(const kit::RuleTable& table, std::uint32_t highestId) {
    const std::set<std::uint32_t> known = knownRuleIds(table);
    for (std::uint32_t id = highestId + 1; id != highestId + kIdsAbove; ++id)
        if (takeOut(table, id)) return true;
    for (std::uint32_t id = 0; id <= std::min(highestId, kLowIds); ++id)
        if (known.count(id) == 0 && takeOut(table, id)) return true;
    return false;
}

}  // namespace

std::optional<std::uint32_t> rulesOnDevice(const kit::RuleTable& table) {
    const kit::VlanCtlSession session;
    unsigned int count = 0;
    if (kit::countRules(table, &count) != 0) return std::nullopt;
    return count;
}

std::set<std::uint32_t> knownRuleIds(const kit::RuleTable& table) {
    std::set<std::uint32_t> ids = plannedRuleIds(table);
    for (const auto& [key, entry] : m_VLAN_RULE_MAP_ENTRY) {
        if (key.ifName != table.device) continue;
        for (std::uint32_t i = 0; i < entry->nbrOfNewRules; ++i)
            if (isIn(entry->newRules[i], table)) ids.insert(entry->newRules[i].tagRuleId);
        for (std::uint32_t i = 0; i < entry->nbrOfOldRules; ++i)
            if (isIn(entry->oldRules[i], table)) ids.insert(entry->oldRules[i].tagRuleId);
    }
    for (const LooseRule& rule : knownLooseRules())
        if (rule.table == table) ids.insert(rule.id);
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
    for (const std::uint32_t id : plannedRuleIds()) highest = std::max(highest, id);
    return highest;
}

void takeBackRule(const kit::RuleTable& table, std::uint32_t before, std::optional<std::uint32_t> id,
                  std::uint32_t highestId) {
    if (id) {
        takeOut(table, *id);
        return;
    }
    if (rulesOnDevice(table) != before + 1) return;  // vlanctl was not asked yet, or refused
    if (takeOutUnknown(table, highestId)) return;
    tell(LogText("%s direction %u tags %u: a rule of an unfinished operation stays, its id is not known",
                 table.device.c_str(), table.direction, table.tags));
    kit::noteRuleCount(table, before + 1);
}

std::size_t forgetRules(const kit::RuleTable& table) {
    for (const LooseRule& rule : knownLooseRules())
        if (rule.table == table) kit::forgetRule(table, rule.id);
    return eraseRulesIf(table.device,
                        [&](const auto& entry, const auto& rule) { return tableOf(entry, rule) == table; });
}

std::size_t forgetRulesOf(const std::string& device) {
    return eraseRulesIf(device, [](const auto&, const auto&) { return true; });
}

}  // namespace restart
