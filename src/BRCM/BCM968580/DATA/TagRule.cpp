// The tables behind the codes of a tagging row, and the steps that every inserter shares.
#include "BRCM/BCM968580/DATA/TagRule.h"

#include <iterator>

#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/DATA/TagCodes.h"

using kit::TagRule;
using kit::TpidDei;

namespace {

// What a TPID/DEI code stands for.
struct TpidCode {
    enum Tpid { None, Customer, Record } tpid;  // Record: the TPID that the operation was given
    std::optional<std::uint32_t> dei;
};

constexpr TpidCode kNoTpid = {TpidCode::None, std::nullopt};

// clang-format off
constexpr TpidCode kTpidFilters[] = {
    kNoTpid, kNoTpid, kNoTpid, kNoTpid,
    /* 4 */ {TpidCode::Customer, std::nullopt},
    /* 5 */ {TpidCode::Record, std::nullopt},
    /* 6 */ {TpidCode::Record, 0},
    /* 7 */ {TpidCode::Record, 1},
};
constexpr TpidCode kTpidTreatments[] = {
    kNoTpid, kNoTpid, kNoTpid, kNoTpid,
    /* 4 */ {TpidCode::Customer, std::nullopt},
    /* 5 */ kNoTpid,
    /* 6 */ {TpidCode::Record, 0},
    /* 7 */ {TpidCode::Record, 1},
};
constexpr std::uint32_t kEtherTypes[] = {
    /* 1 IPv4 */            0x0800,
    /* 2 PPPoE discovery */ 0x8863,
    /* 3 ARP */             0x0806,
    /* 4 PPPoE session */   0x8864,
    /* 5 IPv6 */            0x86DD,
    /* 6 EAPOL */           0x888E,
};

// Pushes (above 0) or pops (below 0) of a VlanTagAction.
constexpr int kTagCountChanges[] = {
    /* 0 */           0,
    /* 1 push */      1,
    /* 2 pop */      -1,
    /* 3 none */      0,
    /* 4 push two */  2,
    /* 5 pop two */  -2,
    /* 6 translate */ 0,
};
// clang-format on

std::optional<TpidDei> look(const TpidCode& code, std::uint32_t recordTpid) {
    if (code.tpid == TpidCode::None) return std::nullopt;
    return TpidDei{code.tpid == TpidCode::Customer ? kTpidCustomer : recordTpid, code.dei};
}

int tagCountChange(std::uint32_t tagAction) {
    return tagAction < std::size(kTagCountChanges) ? kTagCountChanges[tagAction] : 0;
}

void pushOrPop(TagRule& rule, int change) {
    for (; change > 0; --change) rule.push();
    for (; change < 0; ++change) rule.pop();
}

bool recordInMap(EtherSwitchBcm380& engine, const kit::RuleTable& table, std::uint32_t phyId,
                 const VlanExtVlanTagOper_t* row, std::uint32_t id) {
    const char* const device = table.device.c_str();
    const auto phy = static_cast<std::uint16_t>(phyId);
    const auto direction = static_cast<std::uint16_t>(table.direction);
    const bool recorded = row == nullptr
                              ? engine.insertVlanRuleMapEntry(device, phy, direction, table.tags, id)
                              : engine.insertVlanRuleMapEntry(device, phy, direction, table.tags, &row->outer_filter,
                                                              &row->inner_filter, id, row->etherType);
    if (!recorded && id != VLANCTL_DONT_CARE) kit::noteLooseRule(table, id);
    return recorded;
}

}  // namespace

std::optional<TpidDei> tpidFilterOf(std::uint32_t code, std::uint32_t inputTpid) {
    return code < std::size(kTpidFilters) ? look(kTpidFilters[code], inputTpid) : std::nullopt;
}

std::optional<TpidDei> tpidTreatmentOf(std::uint32_t code, std::uint32_t outputTpid) {
    return code < std::size(kTpidTreatments) ? look(kTpidTreatments[code], outputTpid) : std::nullopt;
}

std::optional<std::uint32_t> etherTypeOf(std::uint32_t code, std::uint32_t maxCode) {
    if (code == ETHERTYPE_FILTER_NONE || code > maxCode || code > std::size(kEtherTypes)) return std::nullopt;
    return kEtherTypes[code - 1];
}

void writeTag(TagRule& rule, std::uint32_t pbits, std::uint32_t vid, std::uint32_t tag, bool translates,
              DscpMapping dscp) {
    using namespace tag_codes;
    if (isPbits(pbits)) rule.setPbits(pbits, tag);
    if (pbits == kPrioFromInner && translates) rule.copyPbits(kInnerTag, tag);
    if (pbits == kPrioFromOuter && translates) rule.copyPbits(kOuterTag, tag);
    if (pbits == kPrioFromDscp && (translates || dscp == DscpMapping::Always)) rule.dscpToPbits(tag);
    if (isVid(vid)) rule.setVid(vid, tag);
    if (vid == kVidFromInner && translates) rule.copyVid(kInnerTag, tag);
    if (vid == kVidFromOuter && translates) rule.copyVid(kOuterTag, tag);
}

void changeTagCount(TagRule& rule, std::uint32_t tagAction) {
    pushOrPop(rule, tagCountChange(tagAction));
}

void revertTagCount(TagRule& rule, std::uint32_t tagAction) {
    pushOrPop(rule, -tagCountChange(tagAction));
}

bool installRule(EtherSwitchBcm380& engine, const TagRule& rule, const kit::RuleTable& table, std::uint32_t phyId,
                 const VlanExtVlanTagOper_t* row, kit::RulePosition position) {
    const state::Operation operation;
    std::uint32_t id = VLANCTL_DONT_CARE;
    kit::insertRule(table, rule, position, &id);
    return recordInMap(engine, table, phyId, row, id);
}

void installRuleInTables(EtherSwitchBcm380& engine, const TagRule& rule, kit::RuleTable table, std::uint32_t lastTags,
                         std::uint32_t phyId, kit::RulePosition position) {
    kit::RuleInsertion insertion(table, lastTags);
    for (; table.tags <= lastTags; ++table.tags) {
        std::uint32_t id = VLANCTL_DONT_CARE;
        insertion.insert(table, rule, position, &id);
        recordInMap(engine, table, phyId, nullptr, id);
    }
}
