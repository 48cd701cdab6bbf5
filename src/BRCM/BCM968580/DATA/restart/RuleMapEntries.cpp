// The rule map: an entry is the rules of a device and PHY id, those of the remove area first, so that the value of an
// entry that gets another rule grows at its end.
#include <cstring>

#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/FilterBytes.h"
#include "BRCM/BCM968580/DATA/restart/MapEntries.h"
#include "kit/DeviceNames.h"

using kit::Entry;
using state::ByteReader;
using state::ByteWriter;

namespace restart {

namespace {

void addRule(ByteWriter& value, const VLAN_RULE_INFO& rule) {
    value.add(rule.dir).add(rule.nbrOfTags).add(rule.tagRuleId);
    addPart(value, rule.outer);
    addPart(value, rule.inner);
    value.add(rule.etherType);
}

VLAN_RULE_INFO ruleFrom(ByteReader& value) {
    VLAN_RULE_INFO rule{};
    rule.dir = value.u16();
    rule.nbrOfTags = value.u32();
    rule.tagRuleId = value.u32();
    rule.outer = filterFrom(value);
    rule.inner = filterFrom(value);
    rule.etherType = value.u32();
    return rule;
}

bool read(ByteReader& key, ByteWriter& value) {
    const std::string device = key.text();
    const auto found = m_VLAN_RULE_MAP_ENTRY.find({device, key.u16()});
    if (found == m_VLAN_RULE_MAP_ENTRY.end() || found->second == nullptr) return false;
    const VLAN_RULE_MAP_ENTRY& entry = *found->second;
    value.add(static_cast<std::uint8_t>(entry.nbrOfOldRules));
    for (std::uint32_t i = 0; i < entry.nbrOfOldRules; ++i) addRule(value, entry.oldRules[i]);
    for (std::uint32_t i = 0; i < entry.nbrOfNewRules; ++i) addRule(value, entry.newRules[i]);
    return true;
}

bool restore(ByteReader& key, ByteReader& value, Reading reading) {
    const std::string device = key.text();
    auto entry = std::make_unique<VLAN_RULE_MAP_ENTRY>();
    entry->phyId = key.u16();
    if (!key.done() || !kit::isPlainDeviceName(device)) return false;
    std::memcpy(entry->ifName, device.data(), device.size());
    entry->nbrOfOldRules = value.u8();
    if (entry->nbrOfOldRules > kMaxVlanRules) return false;
    for (std::uint32_t i = 0; i < entry->nbrOfOldRules; ++i) entry->oldRules[i] = ruleFrom(value);
    while (value.left() > 0) {
        if (entry->nbrOfNewRules == kMaxVlanRules) return false;
        entry->newRules[entry->nbrOfNewRules++] = ruleFrom(value);
    }
    if (!value.done()) return false;
    if (reading == Reading::Restore) m_VLAN_RULE_MAP_ENTRY[{device, entry->phyId}] = std::move(entry);
    return true;
}

void forEachKey(const std::function<void(const std::string&)>& visit) {
    for (const auto& entry : m_VLAN_RULE_MAP_ENTRY)
        visit(kit::keyOf(Entry::Rules, entry.first.ifName, entry.first.phyId));
}

}  // namespace

const std::vector<MapEntries>& ruleMap() {
    static const auto& maps = *new std::vector<MapEntries>{{Entry::Rules, read, restore, forEachKey}};
    return maps;
}

}  // namespace restart
