#include "BRCM/BCM968580/DATA/restart/RuleTables.h"

#include <algorithm>
#include <vector>

#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/RuleMap.h"
#include "BRCM/BCM968580/DATA/restart/DeviceEntries.h"
#include "BRCM/BCM968580/DATA/restart/Forwarding.h"
#include "BRCM/BCM968580/DATA/restart/RestartLog.h"

namespace restart {

namespace {

// How far above the highest known id the ids are looked through: other programs make rules too.
constexpr std::uint32_t kIdsAbove = 1024;

bool isIn(const VLAN_RULE_INFO& rule, const kit::RuleTable& table) {
    return rule.dir == table.direction && rule.nbrOfTags == table.tags;
}

bool takeOut(const kit::RuleTable& table, std::uint32_t id) {
    const kit::VlanCtlSession session;
    return kit::removeUncountedRule(table, id);
}

// The newest rule of the table: vlanctl counts its ids up, so the library's last one is above all that it knows in this
// table, and so is no rule that was there before those.
bool takeOutNewest(const kit::RuleTable& table, std::uint32_t highestId) {
    const std::set<std::uint32_t> known = knownRuleIds(table);
    const std::uint32_t above = known.empty() ? 0 : *known.rbegin() + 1;
    for (std::uint32_t id = highestId + kIdsAbove; id-- > above;)
        if (takeOut(table, id)) return true;
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
    const std::uint32_t count = rulesOnDevice(table).value_or(0);
    if (count <= before) return;  // vlanctl was not asked yet, or refused
    // Of two that have come one is somebody else's, and nothing tells which.
    if (count == before + 1 && takeOutNewest(table, highestId)) return;
    report(LogText("%s direction %u tags %u: %u rules have come while an operation was not finished, and stay",
                   table.device.c_str(), table.direction, table.tags, count - before));
    kit::noteRuleCount(table, count);
}

std::size_t forgetRules(const kit::RuleTable& table) {
    for (const LooseRule& rule : knownLooseRules())
        if (rule.table == table) kit::forgetRule(table, rule.id);
    return eraseRulesIf(table.device,
                        [&](const auto& entry, const auto& rule) { return tableOf(entry, rule) == table; });
}

bool forgetKnownRule(const kit::RuleTable& table, std::uint32_t id) {
    const std::vector<LooseRule> loose = knownLooseRules();
    const bool isLoose = std::any_of(loose.begin(), loose.end(),
                                     [&](const LooseRule& rule) { return rule.table == table && rule.id == id; });
    const auto isIt = [&](const auto& entry, const auto& rule) {
        return tableOf(entry, rule) == table && rule.tagRuleId == id;
    };
    return eraseRulesIf(table.device, isIt) > 0 || isLoose;
}

std::size_t forgetRulesOf(const std::string& device) {
    return eraseRulesIf(device, [](const auto&, const auto&) { return true; });
}

}  // namespace restart
