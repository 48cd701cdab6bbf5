// The rows of a UNI, each with an upstream rule that filters and treats as the row says and, where the operation asks
// for it, the inverse rule downstream.
#include <cstdio>
#include <cstring>

#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/DATA/TagRule.h"
#include "BRCM/BCM968580/DATA/uni/UniTagging.h"
#include "hal/Text.h"
#include "kit/DeviceNames.h"
#include "kit/Runner.h"

using namespace tag_codes;
using namespace uni_tagging;

namespace {

constexpr std::uint16_t kPriorityTagVid = 0;
constexpr std::uint16_t kDefaultVid = 1;
// Untagged rows of a port beyond these rules get no downstream rule.
constexpr unsigned int kMaxRulesForUntaggedDownstream = 6;
constexpr std::uint32_t kMaxUniEtherTypeCode = 4;

// ---- upstream ----

std::uint32_t bindUpstream(kit::TagRule& rule, const char* vlanIfc, bool isIpHost) {
    const std::uint32_t direction = isIpHost ? VLANCTL_DIRECTION_TX : VLANCTL_DIRECTION_RX;
    rule.bind(direction, vlanIfc);
    if (isIpHost) {
        std::printf("IPHost:%s TX[%u] Direction set!!", vlanIfc, direction);
    } else {
        std::printf("vlanInterface:%s RX[%u] Direction set!!", vlanIfc, direction);
    }
    return direction;
}

void filterTag(kit::TagRule& rule, const VlanTagFilter_t& filter, std::uint32_t tag) {
    if (filter.prio <= kLastPrio) {
        rule.filterPbits(filter.prio, tag);
        std::printf("Set vlanCtl_filterOnTagPbits");
    }
    if (filter.vlanId <= kLastVid) {
        rule.filterVid(filter.vlanId, tag);
        std::printf("Set vlanCtl_filterOnTagVid");
    }
}

void filterTags(kit::TagRule& rule, const VlanExtVlanTagOper_t& row) {
    std::uint32_t innerTag = kOuterTag;
    if (hasTag(row.outer_filter)) {
        std::printf("Setting Outer Vlan Filters...");
        filterTag(rule, row.outer_filter, kOuterTag);
        innerTag = kInnerTag;
    }
    if (hasTag(row.inner_filter)) {
        std::printf("Setting Inner Vlan Filters...");
        filterTag(rule, row.inner_filter, innerTag);
    }
}

void filterTypes(kit::TagRule& rule, const VlanExtVlanTagOper_t& row, std::uint32_t inputTpid) {
    const auto etherType = etherTypeOf(row.etherType, kMaxUniEtherTypeCode);
    switch (row.filterType) {
        case VLAN_FILTER_TYPE_SINGLE_TAG:
            std::printf("Set VLAN_FILTER_TYPE_SINGLE_TAG");
            rule.filterTpid(tpidFilterOf(row.inner_filter.tpid_de, inputTpid), kOuterTag);
            if (etherType) rule.filterTagEtherType(*etherType, kOuterTag);
            break;
        case VLAN_FILTER_TYPE_DOUBLE_TAG:
            std::printf("Set VLAN_FILTER_TYPE_DOUBLE_TAG");
            rule.filterTpid(tpidFilterOf(row.outer_filter.tpid_de, inputTpid), kOuterTag);
            rule.filterTpid(tpidFilterOf(row.inner_filter.tpid_de, inputTpid), kInnerTag);
            if (etherType) rule.filterTagEtherType(*etherType, kInnerTag);
            break;
        default:
            std::printf("Set Untag");
            if (etherType) rule.filterEtherType(*etherType);
            break;
    }
}

void treatLoneTag(kit::TagRule& rule, const VlanExtVlanTagOper_t& row, VlanTagAction tagAction,
                  std::uint32_t outputTpid) {
    const VlanTagFilter_t& treatment = row.inner_treatment;
    std::printf("treatment inner priority..");
    if (treatment.prio <= kLastPrio) {
        rule.setPbits(treatment.prio, kOuterTag);
    } else if (treatment.prio == kPrioFromDscp) {
        rule.dscpToPbits(kOuterTag);
    } else if (treatment.prio == kPrioFromInner) {
        std::printf("treatment VLAN_TREATMENT_PRIO_COPY_FROM_INNER..");
        if (copiesInnerTag(row, tagAction)) rule.copyPbits(kInnerTag, kOuterTag);
    } else if (treatment.prio == kPrioFromOuter) {
        std::printf("treatment VLAN_TREATMENT_PRIO_COPY_FROM_OUTER..");
    }
    if (treatment.vlanId <= kLastVid) {
        rule.setVid(treatment.vlanId, kOuterTag);
        std::printf("treatment inner vid:%x", treatment.vlanId);
    } else if (treatment.vlanId == kVidFromInner && copiesInnerTag(row, tagAction)) {
        rule.copyVid(kInnerTag, kOuterTag);
    }
    rule.setTpid(loneTpidTreatmentOf(treatment.tpid_de, outputTpid), kOuterTag);
}

// Only a row that translates maps the DSCP onto one of two tags; a bridge service's row always does (ani/ExtVlan.cpp).
void treatTag(kit::TagRule& rule, const VlanTagFilter_t& treatment, std::uint32_t tag, VlanTagAction tagAction) {
    writeTag(rule, treatment.prio, treatment.vlanId, tag, tagAction == VLAN_TAG_ACTION_TRANSLATE,
             DscpMapping::OnlyWhenTranslating);
}

// An outer treatment without an inner one is no combination of G.988: nothing is written.
void treat(kit::TagRule& rule, const VlanExtVlanTagOper_t& row, VlanTagAction tagAction, std::uint32_t outputTpid) {
    if (!hasTag(row.inner_treatment)) return;
    if (!hasTag(row.outer_treatment)) {
        treatLoneTag(rule, row, tagAction, outputTpid);
        return;
    }
    std::printf("treatment outer priority..");
    treatTag(rule, row.outer_treatment, kOuterTag, tagAction);
    rule.setTpid(tpidTreatmentOf(row.outer_treatment.tpid_de, outputTpid), kOuterTag);
    treatTag(rule, row.inner_treatment, kInnerTag, tagAction);
    rule.setTpid(tpidTreatmentOf(row.inner_treatment.tpid_de, outputTpid), kInnerTag);
}

std::uint32_t upstreamTable(const VlanExtVlanTagOper_t& row) {
    switch (row.filterType) {
        case VLAN_FILTER_TYPE_DOUBLE_TAG:
            std::printf("filterType is VLAN_FILTER_TYPE_DOUBLE_TAG..");
            return 2;
        case VLAN_FILTER_TYPE_SINGLE_TAG:
            std::printf("filterType is VLAN_FILTER_TYPE_SINGLE_TAG..");
            return 1;
        default:
            std::printf("filterType is untagged..");
            return 0;
    }
}

// ---- the rows of one UNI ----

// A UNI without a row lets every frame pass, untagged or tagged.
void allowAllOnUni(EtherSwitchBcm380& engine, std::uint16_t uniPort, std::uint16_t bridgeId) {
    const DeviceName bridge = kit::bridgeName(bridgeId);
    DeviceName uniInterface;
    DeviceName uniVirtual;
    engine.getInterfaceName(PHY_ETHERNET, uniIndex(uniPort), uniInterface.get());
    engine.getVirtualInterfaceName(PHY_ETHERNET, uniIndex(uniPort), bridgeId, uniVirtual.get());
    if (engine.isVlanRuleMapExist(uniInterface.get(), uniPort)) {
        std::printf("Delete Uni Vlan Map of UniInterfaceName:%s, uniPort:%d", uniInterface.get(), uniPort);
        engine.deleteVlanRuleMapEntry(uniInterface.get(), uniPort);
    }
    std::printf("Bridge ifName:%s, uniInterfaceName:%s, uniVirtualName:%s", bridge.get(), uniInterface.get(),
                uniVirtual.get());
    engine.insertUniAllowAllTxRxRules(uniInterface.get(), uniVirtual.get(), uniPort);
}

// Where the rows of one operation go, and how.
struct UniRows {
    EtherSwitchBcm380& engine;
    const VlanExtVlanTagOperInfo_t& info;
    std::uint16_t phyId;
    std::uint16_t bridgeId;
    char* devIfc;
    char* vlanIfc;
    VlanTagAction tagAction;
    bool isIpHost;

    void install(VlanExtVlanTagOper_t& row) const;

private:
    bool isInverse() const { return info.downstreamMode == kDownstreamInverse; }
    bool takesDscpShortcut(const VlanExtVlanTagOper_t& row) const;
    bool ignoresDownstream(const VlanExtVlanTagOper_t& row) const;
    void insertInverse(const VlanExtVlanTagOper_t& row) const;
    void insertPppoeSession(VlanExtVlanTagOper_t& row) const;
    void upstream(const VlanExtVlanTagOper_t& row) const;
    void downstream(const VlanExtVlanTagOper_t& row) const;
};

void UniRows::install(VlanExtVlanTagOper_t& row) const {
    if (engine.isDefaultTagRule(&row) || row.removeType == kRemoveDiscard) return;
    if (takesDscpShortcut(row)) {
        kit::installDscpShortcut(phyId, bridgeId, row.inner_treatment.vlanId);
        if (isInverse()) {
            std::printf("downstreamMode is VLAN_XVLAN_DOWNSTREAM_INVERSE");
            downstream(row);
        }
    } else {
        upstream(row);
        if (ignoresDownstream(row)) {
            std::printf(" IGNORE the prio tag in DOWNSTREAM");
        } else if (isInverse()) {
            insertInverse(row);
        }
    }
    insertPppoeSession(row);
}

bool UniRows::takesDscpShortcut(const VlanExtVlanTagOper_t& row) const {
    return mapsDscpOfUntagged(row, tagAction) && std::strncmp(devIfc, "sid", 3) == 0;
}

bool UniRows::ignoresDownstream(const VlanExtVlanTagOper_t& row) const {
    const unsigned int rules = engine.getnbrOfNewRules(devIfc, phyId);
    const bool priorityTagged =
        row.outer_filter.prio == kPrioFromInner && row.inner_filter.prio == kPrioFromInner &&
        (row.outer_filter.vlanId == kPriorityTagVid || row.inner_filter.vlanId == kPriorityTagVid);
    return (filtersUntagged(row) && rules > kMaxRulesForUntaggedDownstream) || priorityTagged;
}

void UniRows::insertInverse(const VlanExtVlanTagOper_t& row) const {
    std::printf("downstreamMode is VLAN_XVLAN_DOWNSTREAM_INVERSE");
    // Kept: an untagged row gets its downstream rule twice, or once if it names VLAN 1.
    if (filtersUntagged(row)) downstream(row);
    if (row.outer_filter.vlanId == kDefaultVid || row.inner_filter.vlanId == kDefaultVid) {
        std::printf(" IGNORE the VLAN 1 in DOWNSTREAM");
    } else {
        downstream(row);
    }
}

// PPPoE takes two EtherTypes: a row for the discovery is a row for the session as well, and the caller sees it so.
void UniRows::insertPppoeSession(VlanExtVlanTagOper_t& row) const {
    if (row.etherType != ETHERTYPE_FILTER_PPPOE_DISCOVERY) return;
    row.etherType = ETHERTYPE_FILTER_PPPOE_SESSION;
    upstream(row);
    if (isInverse()) downstream(row);
}

void UniRows::upstream(const VlanExtVlanTagOper_t& row) const {
    engine.insertExtVlanUsTagRules(info.inputTpid, info.outputTpid, tagAction, &row, phyId, devIfc, vlanIfc, isIpHost);
}

void UniRows::downstream(const VlanExtVlanTagOper_t& row) const {
    engine.insertExtVlanDsTagRules(info.inputTpid, info.outputTpid, tagAction, &row, phyId, devIfc, vlanIfc, isIpHost);
}

}  // namespace

bool EtherSwitchBcm380::insertUniTagRules(const VlanExtVlanTagOperInfo_t* info, std::uint16_t phyId,
                                          std::uint16_t bridgeId, char* devIfc, char* vlanIfc, VlanTagAction& tagAction,
                                          bool isIpHost) {
    if (info == nullptr || devIfc == nullptr || vlanIfc == nullptr) return false;
    if (info->numberOfEntries == 0) {
        allowAllOnUni(*this, phyId, bridgeId);
    } else {
        if (info->rows == nullptr) return false;
        const kit::VlanCtlSession session;
        const UniRows rows{*this, *info, phyId, bridgeId, devIfc, vlanIfc, tagAction, isIpHost};
        for (std::uint32_t i = 0; i < info->numberOfEntries; ++i) rows.install(info->rows[i]);
    }
    std::printf("===> insertUniTagRules, phyId=%d, devIfc=%s, vlanIfc=%s, numberOfEntries=%d, isIpHost:%d", phyId,
                devIfc, vlanIfc, static_cast<int>(info->numberOfEntries), isIpHost);
    return true;
}

bool EtherSwitchBcm380::insertExtVlanUsTagRules(std::uint16_t inputTpid, std::uint16_t outputTpid,
                                                VlanTagAction tagAction, const VlanExtVlanTagOper_t* row,
                                                std::uint32_t phyId, char* devIfc, char* vlanIfc, bool isIpHost) {
    if (row == nullptr || devIfc == nullptr || vlanIfc == nullptr) return false;
    std::printf("===> insertExtVlanUsTagRules: tagAction=%d, phyId=%d, devIfc=%s, vlanIfc=%s\n",
                static_cast<int>(tagAction), static_cast<int>(phyId), devIfc, vlanIfc);
    kit::TagRule rule;
    const std::uint32_t direction = bindUpstream(rule, vlanIfc, isIpHost);
    filterTags(rule, *row);
    filterTypes(rule, *row, inputTpid);
    changeTagCount(rule, tagAction);
    treat(rule, *row, tagAction, outputTpid);

    const kit::RuleTable table{devIfc, direction, upstreamTable(*row)};
    kit::RulePosition position;
    if (isIpHost) position = {VLANCTL_POSITION_FRONT, 0};  // ahead of the rules of the bridge that the IP host is on
    return installRule(*this, rule, table, phyId, row, position);
}
