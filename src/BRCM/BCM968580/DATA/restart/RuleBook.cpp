// The rule map: an entry is the rules of a device and PHY id, those of the remove area first, so that the value of an
// entry that gets another rule grows at its end.
#include <cstring>

#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/restart/DeviceNames.h"
#include "BRCM/BCM968580/DATA/restart/MapBook.h"

using state::Book;
using state::ByteReader;
using state::ByteWriter;

namespace restart {

namespace {

void add(ByteWriter& value, const VlanTagFilter_t& filter) {
    value.add(filter.prio).add(filter.vlanId).add(filter.tpid_de);
}

void add(ByteWriter& value, const VLAN_RULE_INFO& rule) {
    value.add(rule.dir).add(rule.nbrOfTags).add(rule.tagRuleId);
    add(value, rule.outer);
    add(value, rule.inner);
    value.add(rule.etherType);
}

VlanTagFilter_t filterFrom(ByteReader& value) {
    VlanTagFilter_t filter{};
    filter.prio = value.u8();
    filter.vlanId = value.u16();
    filter.tpid_de = value.u32();
    return filter;
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
    for (std::uint32_t i = 0; i < entry.nbrOfOldRules; ++i) add(value, entry.oldRules[i]);
    for (std::uint32_t i = 0; i < entry.nbrOfNewRules; ++i) add(value, entry.newRules[i]);
    return true;
}

bool take(ByteReader& key, ByteReader& value, Taking taking) {
    const std::string device = key.text();
    auto entry = std::make_unique<VLAN_RULE_MAP_ENTRY>();
    entry->phyId = key.u16();
    if (!key.done() || !isPlainDeviceName(device)) return false;
    std::memcpy(entry->ifName, device.data(), device.size());
    entry->nbrOfOldRules = value.u8();
    if (entry->nbrOfOldRules > kMaxVlanRules) return false;
    for (std::uint32_t i = 0; i < entry->nbrOfOldRules; ++i) entry->oldRules[i] = ruleFrom(value);
    while (value.left() > 0) {
        if (entry->nbrOfNewRules == kMaxVlanRules) return false;
        entry->newRules[entry->nbrOfNewRules++] = ruleFrom(value);
    }
    if (!value.done()) return false;
    if (taking == Taking::PutBack) m_VLAN_RULE_MAP_ENTRY[{device, entry->phyId}] = std::move(entry);
    return true;
}

void forEachKey(const std::function<void(const std::string&)>& visit) {
    for (const auto& entry : m_VLAN_RULE_MAP_ENTRY) visit(keyOf(Book::Rules, entry.first.ifName, entry.first.phyId));
}

}  // namespace

const std::vector<MapBook>& ruleBooks() {
    static const auto& books = *new std::vector<MapBook>{{Book::Rules, read, take, forEachKey}};
    return books;
}

}  // namespace restart
