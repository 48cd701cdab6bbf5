// The record of installed tag rules: vlanctl removes a rule only when it is given its table and id.
#include "BRCM/BCM968580/DATA/RuleMap.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "hal/Text.h"
#include "kit/Asked.h"
#include "kit/Rules.h"

std::map<vlanRuleKey, std::unique_ptr<VLAN_RULE_MAP_ENTRY>> m_VLAN_RULE_MAP_ENTRY;

vlanRuleKey::vlanRuleKey(std::string name, std::uint16_t phy) : ifName(std::move(name)), phyId(phy) {}

bool vlanRuleKey::operator<(const vlanRuleKey& other) const {
    return ifName != other.ifName ? ifName < other.ifName : phyId < other.phyId;
}

namespace {

// A name is cut the same way in the key and in the entry, so that an entry always finds its own key.
vlanRuleKey keyOf(const char* ifName, std::uint16_t phyId) {
    return {std::string(ifName, strnlen(ifName, kDeviceNameSize - 1)), phyId};
}

bool equal(const VlanTagFilter_t& one, const VlanTagFilter_t& other) {
    return one.tpid_de == other.tpid_de && one.prio == other.prio && one.vlanId == other.vlanId;
}

bool matches(const VLAN_RULE_INFO& rule, std::uint16_t dir, const VlanTagFilter_t& outer,
             const VlanTagFilter_t& inner) {
    return rule.dir == dir && equal(rule.outer, outer) && equal(rule.inner, inner);
}

VLAN_RULE_INFO* activeEnd(VLAN_RULE_MAP_ENTRY& entry) {
    return entry.newRules + entry.nbrOfNewRules;
}

int removeFromVlanCtl(const VLAN_RULE_MAP_ENTRY& entry, const VLAN_RULE_INFO& rule) {
    const kit::VlanCtlSession session;
    const kit::RuleTable table = tableOf(entry, rule);
    const int result = kit::removeRule(table, rule.tagRuleId);
    if (result != 0 && state::journal() != nullptr) kit::noteLoss(kit::ruleKey(table, rule.tagRuleId));
    return result;
}

void noteRulesOf(const VLAN_RULE_MAP_ENTRY& entry) {
    kit::noteChange(kit::Entry::Rules, entry.ifName, entry.phyId);
}

// Takes out the rules that `gone` says so of; their number. The last one takes the place of each, as when a row is
// deleted: an operation that is run again meets the others in the order in which it would have.
template <typename Gone>
std::uint32_t thinOut(VLAN_RULE_INFO* rules, std::uint32_t* count, Gone gone) {
    const std::uint32_t before = *count;
    for (std::uint32_t i = 0; i < *count;) {
        if (!gone(rules[i])) {
            ++i;
            continue;
        }
        VLAN_RULE_INFO& last = rules[--*count];
        rules[i] = last;
        last = {};
    }
    return before - *count;
}

// False when the active area is full.
bool append(VLAN_RULE_MAP_ENTRY& entry, const VLAN_RULE_INFO& rule) {
    if (entry.nbrOfNewRules >= kMaxVlanRules) return false;
    entry.newRules[entry.nbrOfNewRules++] = rule;
    noteRulesOf(entry);
    return true;
}

// The entry that holds the rules of a device, made when there is none; null when that fails. The limit message cannot
// come, since a fresh entry is empty: kept as it is, and a full entry refuses a rule without a message of its own.
VLAN_RULE_MAP_ENTRY* entryFor(EtherSwitchBcm380& engine, const char* ifName, unsigned short phyId) {
    VLAN_RULE_MAP_ENTRY* entry = nullptr;
    if (engine.findVlanRuleMapEntry(ifName, phyId, &entry)) return entry;
    engine.createVlanRuleMapEntry(ifName, phyId);
    if (!engine.findVlanRuleMapEntry(ifName, phyId, &entry)) {
        std::printf("insertVlanRuleMapEntry Cannot find VLAN Rule Entry for %s, phyId=%d", ifName, phyId);
        return nullptr;
    }
    if (entry->nbrOfNewRules >= kMaxVlanRules) {
        std::printf(
            "insertVlanRuleMapEntry New rule [%d] is over maximum number of VLAN Rule Entries [%d] for %s, phyId=%d",
            static_cast<int>(entry->nbrOfNewRules), static_cast<int>(kMaxVlanRules), ifName, phyId);
    }
    return entry;
}

}  // namespace

kit::RuleTable tableOf(const VLAN_RULE_MAP_ENTRY& entry, const VLAN_RULE_INFO& rule) {
    return {entry.ifName, rule.dir, rule.nbrOfTags};
}

std::size_t eraseRulesIf(const std::string& device,
                         const std::function<bool(const VLAN_RULE_MAP_ENTRY&, const VLAN_RULE_INFO&)>& gone) {
    std::size_t erased = 0;
    for (auto found = m_VLAN_RULE_MAP_ENTRY.begin(); found != m_VLAN_RULE_MAP_ENTRY.end();) {
        VLAN_RULE_MAP_ENTRY& entry = *found->second;
        const auto here = found++;
        if (!device.empty() && device != entry.ifName) continue;
        const auto isGone = [&](const VLAN_RULE_INFO& rule) {
            if (!gone(entry, rule)) return false;
            if (state::journal() != nullptr) kit::noteLoss(kit::ruleKey(tableOf(entry, rule), rule.tagRuleId));
            return true;
        };
        const std::uint32_t old = thinOut(entry.oldRules, &entry.nbrOfOldRules, isGone);
        const std::uint32_t active = thinOut(entry.newRules, &entry.nbrOfNewRules, isGone);
        erased += old + active;
        noteRulesOf(entry);
        if (entry.nbrOfNewRules + entry.nbrOfOldRules == 0) m_VLAN_RULE_MAP_ENTRY.erase(here);
    }
    return erased;
}

// ---- Looking up ----

bool EtherSwitchBcm380::findVlanRuleMapEntry(const char* ifName, unsigned short phyId) {
    if (ifName != nullptr && m_VLAN_RULE_MAP_ENTRY.count(keyOf(ifName, phyId)) != 0) return true;
    std::printf("findVlanRuleMapEntry: Entry NOT Found for ifName: %s phyId: %d \n ", printable(ifName), phyId);
    return false;
}

bool EtherSwitchBcm380::findVlanRuleMapEntry(const char* ifName, unsigned short phyId, VLAN_RULE_MAP_ENTRY** entry) {
    if (entry == nullptr || !findVlanRuleMapEntry(ifName, phyId)) return false;
    *entry = m_VLAN_RULE_MAP_ENTRY.find(keyOf(ifName, phyId))->second.get();
    std::printf("findVlanRuleMapEntry: Entry Found for  ifName: %s phyId: %d \n ", ifName, phyId);
    return true;
}

bool EtherSwitchBcm380::isVlanRuleMapExist(const char* ifName, unsigned short phyId) {
    VLAN_RULE_MAP_ENTRY* entry = nullptr;
    const bool found = findVlanRuleMapEntry(ifName, phyId, &entry);
    if (found) {
        std::printf("===> isVlanRuleExist, ifName=%s, phyId=%d, ret=%d\n", ifName, phyId, found);
    } else {
        std::printf("Could not find VLAN Rule Map Entry for %s, phyId=%d", printable(ifName), phyId);
    }
    return found;
}

bool EtherSwitchBcm380::isVlanRuleMapExist(const char* ifName, unsigned short phyId, unsigned short dir,
                                           const VlanTagFilter_t* outer, const VlanTagFilter_t* inner,
                                           VlanFilterEtherType etherType) {
    if (outer == nullptr || inner == nullptr) return false;
    VLAN_RULE_MAP_ENTRY* entry = nullptr;
    if (!findVlanRuleMapEntry(ifName, phyId, &entry)) {
        std::printf("Could not find UNI VLAN Rule Map Entry for %s, phyId=%d \n", printable(ifName), phyId);
        return false;
    }
    const bool found = std::any_of(entry->newRules, activeEnd(*entry), [&](const VLAN_RULE_INFO& rule) {
        return matches(rule, dir, *outer, *inner) && rule.etherType == etherType;
    });
    if (!found) {
        std::printf("===> isVlanRuleExist, NOT found for UNI ifName=%s, phyId=%d\n", ifName, phyId);
        return false;
    }
    std::printf(
        "===> isVlanRuleExist,for UNI ifName=%s, phyId=%d, direction:%u,                     outer.filter.prio:%u, "
        "outer.filter.vlanId:%u, outer.filter.tpid_de:%u,                      inner.filter.prio:%u, "
        "inner.filter.vlanId:%u, inner.filter.tpid_de:%u, etherType:%u",
        ifName, phyId, dir, outer->prio, outer->vlanId, outer->tpid_de, inner->prio, inner->vlanId, inner->tpid_de,
        static_cast<unsigned>(etherType));
    return true;
}

unsigned int EtherSwitchBcm380::getnbrOfNewRules(const char* ifName, unsigned short phyId) {
    VLAN_RULE_MAP_ENTRY* entry = nullptr;
    if (!findVlanRuleMapEntry(ifName, phyId, &entry)) {
        std::printf("Could not find VLAN Rule Map Entry for %s, phyId=%d", printable(ifName), phyId);
        return 0;
    }
    std::printf("===> isVlanRuleExist, ifName=%s, phyId=%d, ret=%d\n", ifName, phyId,
                static_cast<int>(entry->nbrOfNewRules));
    return entry->nbrOfNewRules;
}

// ---- Recording ----

bool EtherSwitchBcm380::createVlanRuleMapEntry(const char* ifName, unsigned short phyId) {
    if (ifName == nullptr) return false;
    auto& entry = m_VLAN_RULE_MAP_ENTRY[keyOf(ifName, phyId)];
    if (entry != nullptr) return true;
    entry = std::make_unique<VLAN_RULE_MAP_ENTRY>();
    entry->phyId = phyId;
    std::memcpy(entry->ifName, ifName, strnlen(ifName, sizeof entry->ifName - 1));
    noteRulesOf(*entry);
    return true;
}

bool EtherSwitchBcm380::insertVlanRuleMapEntry(const char* ifName, unsigned short phyId, unsigned short dir,
                                               unsigned int nbrOfTags, unsigned int tagRuleId) {
    if (ifName == nullptr) return false;
    const int tags = static_cast<int>(nbrOfTags), id = static_cast<int>(tagRuleId);
    if (tagRuleId == VLANCTL_DONT_CARE) {
        std::printf(
            "Invalid rule[VLANCTL_DONT_CARE] received!!! ifName=%s, phyId=%d, dir=%d, nbrOfTags=%d, tagRuleId=%d",
            ifName, phyId, dir, tags, id);
        return false;
    }
    VLAN_RULE_MAP_ENTRY* const entry = entryFor(*this, ifName, phyId);
    if (entry == nullptr) return false;
    const bool recorded = append(*entry, {dir, nbrOfTags, tagRuleId, {}, {}, {}});
    std::printf(
        "insertVlanRuleMapEntry ===> , ifName=%s, phyId=%d, dir=%d, nbrOfTags=%d, tagRuleId=%d, nbrOfNewRules=%d, "
        "ret=%d\n",
        ifName, phyId, dir, tags, id, static_cast<int>(entry->nbrOfNewRules), recorded);
    return recorded;
}

bool EtherSwitchBcm380::insertVlanRuleMapEntry(const char* ifName, unsigned short phyId, unsigned short dir,
                                               unsigned int nbrOfTags, const VlanTagFilter_t* outer,
                                               const VlanTagFilter_t* inner, unsigned int tagRuleId,
                                               VlanFilterEtherType etherType) {
    if (ifName == nullptr || outer == nullptr || inner == nullptr) return false;
    const int tags = static_cast<int>(nbrOfTags), id = static_cast<int>(tagRuleId), type = static_cast<int>(etherType);
    if (tagRuleId == VLANCTL_DONT_CARE) {
        std::printf(
            "Invalid rule[VLANCTL_DONT_CARE] received!!! ifName=%s, phyId=%d, dir=%d, nbrOfTags=%d, tagRuleId=%d, "
            "etherType:%d",
            ifName, phyId, dir, tags, id, type);
        return false;
    }
    VLAN_RULE_MAP_ENTRY* const entry = entryFor(*this, ifName, phyId);
    if (entry == nullptr) return false;
    const bool recorded = append(*entry, {dir, nbrOfTags, tagRuleId, *outer, *inner, etherType});
    std::printf(
        "insertVlanRuleMapEntry ===> , ifName=%s, phyId=%d, dir=%d, nbrOfTags=%d, tagRuleId=%d, nbrOfNewRules=%d, "
        "etherType:%d, ret=%d\n",
        ifName, phyId, dir, tags, id, static_cast<int>(entry->nbrOfNewRules), type, recorded);
    return recorded;
}

// ---- Replacing ----

bool EtherSwitchBcm380::copyVlanRuleMapEntry(const char* ifName, unsigned short phyId) {
    VLAN_RULE_MAP_ENTRY* entry = nullptr;
    const bool found = findVlanRuleMapEntry(ifName, phyId, &entry);
    if (found) {
        std::printf("===> copyVlanRuleMapEntry, before, ifName=%s, phyId=%d, nbrOfNewRules=%d, nbrOfOldRules=%d\n",
                    ifName, phyId, static_cast<int>(entry->nbrOfNewRules), static_cast<int>(entry->nbrOfOldRules));
        std::printf("Copy all rules from active area to remove area for %s, phyId=%d", ifName, phyId);
        std::fill_n(entry->oldRules, entry->nbrOfOldRules, VLAN_RULE_INFO{});
        std::copy(entry->newRules, activeEnd(*entry), entry->oldRules);
        std::fill(entry->newRules, activeEnd(*entry), VLAN_RULE_INFO{});
        entry->nbrOfOldRules = std::exchange(entry->nbrOfNewRules, 0);
        noteRulesOf(*entry);
        std::printf("===> copyVlanRuleMapEntry, after, ifName=%s, phyId=%d, nbrOfNewRules=%d, nbrOfOldRules=%d\n",
                    ifName, phyId, static_cast<int>(entry->nbrOfNewRules), static_cast<int>(entry->nbrOfOldRules));
    } else {
        std::printf("copyVlanRuleMapEntry: Could not find VLAN Rule Entry for %s, phyId=%d", printable(ifName), phyId);
    }
    std::printf("===> copyVlanRuleMapEntry ifName=%s, phyId=%d, ret=%d\n", printable(ifName), phyId, found);
    return found;
}

bool EtherSwitchBcm380::removeVlanRuleMapEntry(const char* ifName, unsigned short phyId) {
    VLAN_RULE_MAP_ENTRY* entry = nullptr;
    const bool found = findVlanRuleMapEntry(ifName, phyId, &entry);
    if (found) {
        std::printf("Remove all rules in remove area for %s, phyId=%d", ifName, phyId);
        std::for_each_n(entry->oldRules, entry->nbrOfOldRules, [&](const VLAN_RULE_INFO& rule) {
            removeFromVlanCtl(*entry, rule);
            std::printf(
                "===> removeVlanRuleMapEntry, ifName=%s, phyId=%d, dir=%d, nbrOfTags=%d, tagRuleId=%d, ret=%d\n",
                ifName, phyId, rule.dir, static_cast<int>(rule.nbrOfTags), static_cast<int>(rule.tagRuleId), 1);
        });
        std::fill_n(entry->oldRules, entry->nbrOfOldRules, VLAN_RULE_INFO{});
        entry->nbrOfOldRules = 0;
        noteRulesOf(*entry);
    } else {
        std::printf("Could not find BCM Rule Entry for %s, phyId=%d", printable(ifName), phyId);
    }
    std::printf("===> bcm_rule_remove, ifName=%s, phyId=%d, ret=%d\n", printable(ifName), phyId, found);
    return found;
}

// ---- Removing ----

void EtherSwitchBcm380::freeVlanRuleMapEntry(VLAN_RULE_MAP_ENTRY* entry) {
    if (entry == nullptr) return;
    const kit::BegunStep step(kit::Step::FreeRules, entry->ifName, entry->phyId);
    noteRulesOf(*entry);
    std::for_each_n(entry->oldRules, entry->nbrOfOldRules, [&](const auto& rule) { removeFromVlanCtl(*entry, rule); });
    std::for_each_n(entry->newRules, entry->nbrOfNewRules, [&](const auto& rule) { removeFromVlanCtl(*entry, rule); });
    std::printf("===> freeVlanRuleMapEntry, ifName=%s, phyId=%d, nbrOfNewRules=%d, nbrOfOldRules=%d, tagRuleId=%d\n",
                entry->ifName, entry->phyId, static_cast<int>(entry->nbrOfNewRules),
                static_cast<int>(entry->nbrOfOldRules), static_cast<int>(entry->newRules[0].tagRuleId));
    const auto own = m_VLAN_RULE_MAP_ENTRY.find(keyOf(entry->ifName, entry->phyId));
    if (own != m_VLAN_RULE_MAP_ENTRY.end() && own->second.get() == entry) {
        m_VLAN_RULE_MAP_ENTRY.erase(own);
        std::printf("freeVlanRuleMapEntry: Entry deleted\n ");
    } else {
        std::printf("freeVlanRuleMapEntry: Entry not found to delete\n ");
    }
}

bool EtherSwitchBcm380::deleteVlanRuleMapEntry(const char* ifName, unsigned short phyId) {
    VLAN_RULE_MAP_ENTRY* entry = nullptr;
    const bool found = findVlanRuleMapEntry(ifName, phyId, &entry);
    if (found) {
        std::printf("deleteVlanRuleMapEntry Freeing VLAN Rule Map Entry for %s, phyId=%d", ifName, phyId);
        freeVlanRuleMapEntry(entry);
    } else {
        std::printf("deleteVlanRuleMapEntry Could not find VLAN Rule Entry Map for %s, phyId=%d", printable(ifName),
                    phyId);
    }
    std::printf("===> deleteVlanRuleMapEntry, ifName=%s, phyId=%d, ret=%d\n", printable(ifName), phyId, found);
    return found;
}

bool EtherSwitchBcm380::deleteVlanRuleIdFromMap(const char* ifName, unsigned short phyId, unsigned short dir,
                                                const VlanTagFilter_t* outer, const VlanTagFilter_t* inner) {
    if (outer == nullptr || inner == nullptr) return false;
    VLAN_RULE_MAP_ENTRY* entry = nullptr;
    if (!findVlanRuleMapEntry(ifName, phyId, &entry)) {
        std::printf("Could not find UNI VLAN Rule Map Entry for %s, phyId=%d", printable(ifName), phyId);
        return false;
    }
    // The EtherType is not looked at: of rules that differ in it alone, the first goes.
    VLAN_RULE_INFO* const slot = std::find_if(entry->newRules, activeEnd(*entry), [&](const VLAN_RULE_INFO& rule) {
        return matches(rule, dir, *outer, *inner);
    });
    if (slot == activeEnd(*entry)) {
        std::printf("===> deleteVlanRuleIdFromMap,UNI ifName=%s, phyId=%d, ret=%d\n", ifName, phyId, 0);
        return false;
    }
    noteRulesOf(*entry);
    const VLAN_RULE_INFO removed = *slot;
    const int result = removeFromVlanCtl(*entry, removed);
    VLAN_RULE_INFO* const last = activeEnd(*entry) - 1;
    *slot = *last;
    *last = {};
    std::printf("###S Entry found for UNI tagRuleId: %d Direction: %d Name: %s nbrOfTags: %d retVal: %d\n",
                static_cast<int>(removed.tagRuleId), dir, ifName, static_cast<int>(slot->nbrOfTags), result);
    if (--entry->nbrOfNewRules == 0) freeVlanRuleMapEntry(entry);
    return true;
}

bool EtherSwitchBcm380::flushUniSideVlanRules(unsigned short /*bridgeId*/, unsigned short uniPort) {
    DeviceName uni;
    getInterfaceName(PHY_ETHERNET, static_cast<unsigned>(uniPort - 1), uni.get());
    if (!isInterfaceExisted(uni.get())) {
        std::printf("uniInterfaceName:%s is not present!!!", uni.get());
        return false;
    }
    if (!isVlanRuleMapExist(uni.get(), uniPort)) {
        std::printf("uniInterfaceName:%s rules are not present!!!", uni.get());
        return false;
    }
    return deleteVlanRuleMapEntry(uni.get(), uniPort);
}

bool EtherSwitchBcm380::flushAniSideVlanRules(unsigned short bridgeId, unsigned short gemPortId) {
    std::uint16_t gemIndex = 0;
    if (!getGemIdxFromGemPortMapEntry(gemPortId, &gemIndex)) {
        std::printf("GemPort:%u is not configured!!!", gemPortId);
        return false;
    }
    DeviceName ani;
    getInterfaceName(PHY_GPON, bridgeId, ani.get());
    if (!isInterfaceExisted(ani.get())) {
        std::printf("aniInterfaceName:%s is not present!!!", ani.get());
        return false;
    }
    if (!isVlanRuleMapExist(ani.get(), gemIndex)) {
        std::printf("aniInterfaceName:%s rules are not present!!!", ani.get());
        return false;
    }
    return deleteVlanRuleMapEntry(ani.get(), gemIndex);
}
