// The downstream rule of a UNI's row: it filters on what the upstream rule wrote and gives the frame back the tags that
// it had at the UNI.
#include <cstdio>

#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/DATA/TagRule.h"
#include "BRCM/BCM968580/DATA/uni/UniTagging.h"

using namespace tag_codes;
using namespace uni_tagging;

namespace {

constexpr std::uint32_t kMaxRestoredEtherTypeCode = 3;  // Kept: the PPPoE session type is not written back

std::uint32_t bindDownstream(kit::TagRule& rule, const char* vlanIfc, bool isIpHost) {
    const std::uint32_t direction = isIpHost ? VLANCTL_DIRECTION_RX : VLANCTL_DIRECTION_TX;
    rule.bind(direction, vlanIfc);
    if (isIpHost) {
        std::printf("IPHost:%s RX[%u] Direction set!!", vlanIfc, direction);
    } else {
        std::printf("vlanInterface:%s TX[%u] Direction set!!", vlanIfc, direction);
    }
    return direction;
}

void filterTreatedTag(kit::TagRule& rule, const VlanTagFilter_t& treatment, std::uint32_t tag) {
    if (treatment.prio <= kLastPrio) rule.filterPbits(treatment.prio, tag);
    if (treatment.vlanId <= kLastVid) rule.filterVid(treatment.vlanId, tag);
}

void filterTreatedPair(kit::TagRule& rule, const VlanExtVlanTagOper_t& row, std::uint32_t outputTpid) {
    const VlanTagFilter_t& outer = row.outer_treatment;
    const VlanTagFilter_t& inner = row.inner_treatment;
    std::printf("filter outer...priority:%d, vlanId:%d, tpid_de:%d", outer.prio, outer.vlanId,
                static_cast<int>(outer.tpid_de));
    filterTreatedTag(rule, outer, kOuterTag);
    rule.filterTpid(tpidTreatmentOf(outer.tpid_de, outputTpid), kOuterTag);
    std::printf("filter inner...priority:%d, vlanId:%d, tpid_de:%d", inner.prio, inner.vlanId,
                static_cast<int>(inner.tpid_de));
    filterTreatedTag(rule, inner, kInnerTag);
    rule.filterTpid(tpidTreatmentOf(inner.tpid_de, outputTpid), kInnerTag);
}

// What the treatment copied is known from the inner filter; its values are handed on without a bound.
void filterTreatedLoneTag(kit::TagRule& rule, const VlanExtVlanTagOper_t& row, VlanTagAction tagAction,
                          std::uint32_t outputTpid) {
    const VlanTagFilter_t& treatment = row.inner_treatment;
    const bool copies = copiesInnerTag(row, tagAction);
    std::printf("inner treatment...priority:%d, vlanId:%d, tpid_de:%d", treatment.prio, treatment.vlanId,
                static_cast<int>(treatment.tpid_de));
    if (treatment.prio <= kLastPrio) {
        rule.filterPbits(treatment.prio, kOuterTag);
    } else if (treatment.prio == kPrioFromInner) {
        std::printf("inner treatment priority...");
        if (copies) rule.filterPbits(row.inner_filter.prio, kOuterTag);
    }
    if (treatment.vlanId <= kLastVid) {
        std::printf("inner treatment vlanId:%x", treatment.vlanId);
        rule.filterVid(treatment.vlanId, kOuterTag);
    } else if (treatment.vlanId == kVidFromInner && copies) {
        rule.filterVid(row.inner_filter.vlanId, kOuterTag);
    }
    rule.filterTpid(loneTpidTreatmentOf(treatment.tpid_de, outputTpid), kOuterTag);
}

void filterTreated(kit::TagRule& rule, const VlanExtVlanTagOper_t& row, VlanTagAction tagAction,
                   std::uint32_t outputTpid) {
    if (!hasTag(row.inner_treatment)) return;
    if (hasTag(row.outer_treatment)) {
        filterTreatedPair(rule, row, outputTpid);
    } else {
        filterTreatedLoneTag(rule, row, tagAction, outputTpid);
    }
}

void restoreTag(kit::TagRule& rule, const VlanTagFilter_t& filter, std::uint32_t tag) {
    if (filter.prio <= kLastPrio) rule.setPbits(filter.prio, tag);
    if (filter.vlanId <= kLastVid) rule.setVid(filter.vlanId, tag);
}

void restorePair(kit::TagRule& rule, const VlanExtVlanTagOper_t& row, std::uint32_t inputTpid) {
    std::printf("treatment outer priority...");
    restoreTag(rule, row.outer_filter, kOuterTag);
    rule.setTpid(tpidFilterOf(row.outer_filter.tpid_de, inputTpid), kOuterTag);
    rule.setTpid(tpidFilterOf(row.inner_filter.tpid_de, inputTpid), kInnerTag);
    restoreTag(rule, row.inner_filter, kInnerTag);
    const auto etherType = etherTypeOf(row.etherType, kMaxRestoredEtherTypeCode);
    if (etherType) rule.setTagEtherType(*etherType, kInnerTag);
}

void restoreLoneTag(kit::TagRule& rule, const VlanExtVlanTagOper_t& row, std::uint32_t inputTpid) {
    std::printf("treatment inner priority...");
    const bool doubleTag = row.filterType == VLAN_FILTER_TYPE_DOUBLE_TAG;
    if (doubleTag) {
        std::printf("filterType VLAN_FILTER_TYPE_DOUBLE_TAG...");
    } else {
        std::printf("set pbits");
    }
    const VlanTagFilter_t& filter = doubleTag ? row.outer_filter : row.inner_filter;
    restoreTag(rule, filter, kOuterTag);
    rule.setTpid(tpidFilterOf(filter.tpid_de, inputTpid), kOuterTag);
}

void restoreTags(kit::TagRule& rule, const VlanExtVlanTagOper_t& row, std::uint32_t inputTpid) {
    if (!hasTag(row.inner_treatment) || !hasTag(row.inner_filter)) return;
    if (hasTag(row.outer_treatment) && hasTag(row.outer_filter)) {
        restorePair(rule, row, inputTpid);
    } else {
        restoreLoneTag(rule, row, inputTpid);
    }
}

// ---- the downstream table: the number of tags that the frame carries towards the UNI ----

// What is printed of the tags that a row removes.
enum class RemovalText { None, NoneOfOneTag, Outer, Both, BothOfUntagged };

void announceRemoval(RemovalText text, int table) {
    switch (text) {
        case RemovalText::None:
            std::printf("removeType default...txFilterType:%d", table);
            break;
        case RemovalText::NoneOfOneTag:  // kept: misspelt, and only here
            std::printf("removeType defualt...txFilterType:%d", table);
            break;
        case RemovalText::Outer:
            std::printf("removeType VLAN_TREATMENT_REMOVE_OUTER...txFilterType:%d", table);
            break;
        case RemovalText::BothOfUntagged:
            std::printf("untagged...");  // kept: the second of this case
            [[fallthrough]];
        case RemovalText::Both:
            std::printf("removeType VLAN_TREATMENT_REMOVE_BOTH...txFilterType:%d", table);
            break;
    }
}

// The table by the tags that the upstream treatment added.
struct DownstreamTable {
    int noneAdded;
    int innerAdded;
    int outerAdded;
    int bothAdded;
    RemovalText text;
};

// By the tags that the row filters on and those that it removes; another removeType removes none.
// clang-format off
constexpr DownstreamTable kUniDownstreamTables[3][3] = {
    {
        /* untagged, none  */ {0, 1, 0, 2, RemovalText::None},
        /* untagged, outer */ {0, 0, 0, 1, RemovalText::Outer},
        /* untagged, both  */ {0, 0, 0, 0, RemovalText::BothOfUntagged},
    },
    {
        /* one tag, none   */ {1, 2, 1, 2, RemovalText::NoneOfOneTag},
        /* one tag, outer  */ {0, 1, 0, 2, RemovalText::Outer},
        /* one tag, both   */ {0, 0, 0, 1, RemovalText::Both},
    },
    {
        /* two tags, none  */ {2, 2, 2, 2, RemovalText::None},
        /* two tags, outer */ {1, 2, 1, 2, RemovalText::Outer},
        /* two tags, both  */ {0, 1, 0, 2, RemovalText::Both},
    },
};
// clang-format on

void announceFilterType(std::uint32_t filteredTags) {
    switch (filteredTags) {
        case VLAN_FILTER_TYPE_DOUBLE_TAG:
            std::printf("filterType VLAN_FILTER_TYPE_DOUBLE_TAG");
            break;
        case VLAN_FILTER_TYPE_SINGLE_TAG:
            std::printf("filterType VLAN_FILTER_TYPE_SINGLE_TAG");
            break;
        default:
            std::printf("untagged...");
            break;
    }
}

void announceTable(int table) {
    switch (table) {
        case 2:
            std::printf("txFilterType VLAN_FILTER_TYPE_DOUBLE_TAG...");
            break;
        case 1:
            std::printf("txFilterType VLAN_FILTER_TYPE_SINGLE_TAG...");
            break;
        default:
            std::printf("untagged...");
            break;
    }
}

std::uint32_t downstreamTable(const VlanExtVlanTagOper_t& row) {
    const std::uint32_t filteredTags = row.filterType <= VLAN_FILTER_TYPE_DOUBLE_TAG ? row.filterType : 0;
    const std::uint32_t removedTags = row.removeType <= kRemoveBoth ? row.removeType : kRemoveNone;
    announceFilterType(filteredTags);

    const DownstreamTable& choice = kUniDownstreamTables[filteredTags][removedTags];
    const int withoutOuter = hasTag(row.inner_treatment) ? choice.innerAdded : choice.noneAdded;
    const int withOuter = hasTag(row.inner_treatment) ? choice.bothAdded : choice.outerAdded;
    const int table = hasTag(row.outer_treatment) ? withOuter : withoutOuter;
    announceRemoval(choice.text, table);
    announceTable(table);
    return static_cast<std::uint32_t>(table);
}

}  // namespace

bool EtherSwitchBcm380::insertExtVlanDsTagRules(std::uint16_t inputTpid, std::uint16_t outputTpid,
                                                VlanTagAction tagAction, const VlanExtVlanTagOper_t* row,
                                                std::uint32_t phyId, char* devIfc, char* vlanIfc, bool isIpHost) {
    if (row == nullptr || devIfc == nullptr || vlanIfc == nullptr) return false;
    std::printf("===> insertExtVlanDsTagRules: tagAction=%d, devIfc=%s, vlanIfc=%s\n", static_cast<int>(tagAction),
                devIfc, vlanIfc);
    kit::TagRule rule;
    const std::uint32_t direction = bindDownstream(rule, vlanIfc, isIpHost);
    filterTreated(rule, *row, tagAction, outputTpid);
    revertTagCount(rule, tagAction);
    restoreTags(rule, *row, inputTpid);

    return installRule(*this, rule, {devIfc, direction, downstreamTable(*row)}, phyId, row);
}
