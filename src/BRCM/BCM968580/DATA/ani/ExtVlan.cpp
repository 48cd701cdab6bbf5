// The extended VLAN tagging row of a bridge service (the multicast path) as one upstream and one downstream rule on the
// VEIP side. The rows of UNI ports have a record form of their own.
#include <cstdio>

#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/DATA/TagCodes.h"
#include "BRCM/BCM968580/DATA/TagRule.h"

using namespace tag_codes;

namespace {

using Row = BridgeServiceProvisioning;

constexpr std::uint32_t kMaxEtherTypeCode = ETHERTYPE_FILTER_EAPOL;

bool outerAdded(const Row& row) {
    return row.outerVlanPrioAction != kPrioNoTag;
}
bool innerAdded(const Row& row) {
    return row.innerVlanPrioAction != kPrioNoTag;
}
bool onlyInnerAdded(const Row& row) {
    return innerAdded(row) && !outerAdded(row);
}
bool bothAdded(const Row& row) {
    return innerAdded(row) && outerAdded(row);
}

// Single-tagged frames that get a second tag: the new tag may take over values of the one that is there.
bool pushesOnSingleTag(const Row& row) {
    return row.filterTagCount == VLAN_FILTER_TYPE_SINGLE_TAG && row.tagTreatment == VLAN_TAG_ACTION_PUSH;
}
bool mayCopyInnerPbits(const Row& row) {
    return pushesOnSingleTag(row) ||
           (row.filterTagCount == VLAN_FILTER_TYPE_DOUBLE_TAG &&
            (row.tagTreatment == VLAN_TAG_ACTION_PUSH || row.tagTreatment == VLAN_TAG_ACTION_TRANSLATE));
}
bool mayCopyInnerVid(const Row& row) {
    return pushesOnSingleTag(row) || row.tagTreatment == VLAN_TAG_ACTION_TRANSLATE;
}

// ---- TPID codes that this record form knows beyond the common ones ----

enum TpidAction : std::uint16_t {
    TPID_COPY_FROM_INNER = 0,
    TPID_COPY_FROM_OUTER = 1,
    TPID_OUTPUT_DEI_FROM_INNER = 2,
    TPID_OUTPUT = 3,
};

// TPID (as a command) and DEI of the given tag for the codes that copy; false for the others.
bool copyTpid(kit::TagRule& rule, std::uint16_t code, std::uint32_t outputTpid, std::uint32_t tag) {
    switch (code) {
        case TPID_COPY_FROM_INNER:
            rule.copyTagEtherType(1, tag).copyCfi(1, tag);
            return true;
        case TPID_COPY_FROM_OUTER:
            rule.copyTagEtherType(0, tag).copyCfi(0, tag);
            return true;
        case TPID_OUTPUT_DEI_FROM_INNER:
            rule.setTpid(kit::TpidDei{outputTpid, std::nullopt}, tag).copyCfi(1, tag);
            return true;
        default:
            return false;
    }
}

// ---- Upstream ----

void filterOuterTag(kit::TagRule& rule, const Row& row) {
    if (isPbits(row.outerVlanPrioFilter)) {
        std::printf("insertExtVlanUsTagRules: outerVlanPrioFilter: %d, tagIndex: %d \n", row.outerVlanPrioFilter, 0);
        rule.filterPbits(row.outerVlanPrioFilter, 0);
    }
    if (isVid(row.outerVlanIdFilter)) {
        std::printf("insertExtVlanUsTagRules: outerVlanIdFilter: %d, tagIndex: %d \n", row.outerVlanIdFilter, 0);
        rule.filterVid(row.outerVlanIdFilter, 0);
    }
}

void filterInnerTag(kit::TagRule& rule, const Row& row, int tag) {
    const auto tagIndex = static_cast<std::uint32_t>(tag);
    if (isPbits(row.innerVlanPrioFilter)) {
        std::printf("insertExtVlanUsTagRules: innerVlanPrioFilter: %d, tagIndex: %d \n", row.innerVlanPrioFilter, tag);
        rule.filterPbits(row.innerVlanPrioFilter, tagIndex);
    }
    if (isVid(row.innerVlanIdFilter)) {
        std::printf("insertExtVlanUsTagRules: innerVlanIdFilter: %d, tagIndex: %d \n", row.innerVlanIdFilter, tag);
        rule.filterVid(row.innerVlanIdFilter, tagIndex);
    }
}

// The TPIDs of the tags filtered on and the EtherType behind the last of them.
void filterTypes(kit::TagRule& rule, const Row& row) {
    const auto etherType = etherTypeOf(row.etherTypeFilter, kMaxEtherTypeCode);
    const auto innerTpid = tpidFilterOf(row.innerTpidFilter, row.inputTpid);
    switch (row.filterTagCount) {
        case VLAN_FILTER_TYPE_SINGLE_TAG:
            rule.filterTpid(innerTpid, 0);
            if (etherType) rule.filterTagEtherType(*etherType, 0);
            std::printf(
                "insertExtVlanUsTagRules: Single tag filter for inputTpid: %d, innerTpidFilter: %d, etherTypeFilter: "
                "%d \n",
                row.inputTpid, row.innerTpidFilter, row.etherTypeFilter);
            return;
        case VLAN_FILTER_TYPE_DOUBLE_TAG:
            rule.filterTpid(tpidFilterOf(row.outerTpidFilter, row.inputTpid), 0).filterTpid(innerTpid, 1);
            if (etherType) rule.filterTagEtherType(*etherType, 1);
            std::printf(
                "insertExtVlanUsTagRules: Double tag filter for inputTpid: %d outerTpidFilter: %d innerTpidFilter: "
                "%d, etherTypeFilter: %d \n",
                row.inputTpid, row.outerTpidFilter, row.innerTpidFilter, row.etherTypeFilter);
            return;
        default:
            if (etherType) rule.filterEtherType(*etherType);
            std::printf("insertExtVlanUsTagRules: filter on etherTypeFilter: %d \n", row.etherTypeFilter);
            return;
    }
}

// One tag is written: the frame's outermost one.
void treatSingleTag(kit::TagRule& rule, const Row& row) {
    std::printf(
        "insertExtVlanUsTagRules: innerVlanPrioAction: %d, innerVlanIdAction: %d, innerTpidAction: %d, outputTpid: %d "
        "\n",
        row.innerVlanPrioAction, row.innerVlanIdAction, row.innerTpidAction, row.outputTpid);
    const std::uint16_t pbits = row.innerVlanPrioAction;
    if (isPbits(pbits)) rule.setPbits(pbits, 0);
    if (pbits == kPrioFromDscp) rule.dscpToPbits(0);
    if (pbits == kPrioFromInner && mayCopyInnerPbits(row)) rule.copyPbits(1, 0);

    const std::uint16_t vid = row.innerVlanIdAction;
    if (isVid(vid)) rule.setVid(vid, 0);
    if (vid == kVidFromInner && mayCopyInnerVid(row)) rule.copyVid(1, 0);

    if (copyTpid(rule, row.innerTpidAction, row.outputTpid, 0)) return;
    if (row.innerTpidAction == TPID_OUTPUT) {
        rule.setEtherType(row.outputTpid);
    } else {
        rule.setTpid(tpidTreatmentOf(row.innerTpidAction, row.outputTpid), 0);
    }
}

// One of two tags. The DSCP is mapped whatever happens to the number of tags, unlike in a UNI's row
// (uni/UniTagRules.cpp): kept as it is.
void treatTag(kit::TagRule& rule, const Row& row, std::uint32_t tag, std::uint16_t pbits, std::uint16_t vid,
              std::uint16_t tpid) {
    writeTag(rule, pbits, vid, tag, row.tagTreatment == VLAN_TAG_ACTION_TRANSLATE, DscpMapping::Always);
    rule.setTpid(tpidTreatmentOf(tpid, row.outputTpid), tag);
}

void treatBothTags(kit::TagRule& rule, const Row& row) {
    std::printf("insertExtVlanUsTagRules: outerVlanPrioAction: %d, outerVlanIdAction: %d, outerTpidAction: %d \n",
                row.outerVlanPrioAction, row.outerVlanIdAction, row.outerTpidAction);
    treatTag(rule, row, 0, row.outerVlanPrioAction, row.outerVlanIdAction, row.outerTpidAction);
    std::printf("insertExtVlanUsTagRules: innerVlanPrioAction: %d, innerVlanIdAction: %d, innerTpidAction: %d \n",
                row.innerVlanPrioAction, row.innerVlanIdAction, row.innerTpidAction);
    treatTag(rule, row, 1, row.innerVlanPrioAction, row.innerVlanIdAction, row.innerTpidAction);
}

// ---- Downstream: filter on what the upstream rule wrote, take it back ----

// The TPID of a tag that the upstream rule wrote. Codes that copied it upstream cannot be filtered on and copy here
// too.
void matchWrittenTpid(kit::TagRule& rule, std::uint16_t code, std::uint32_t outputTpid, std::uint32_t tag) {
    if (copyTpid(rule, code, outputTpid, tag)) return;
    if (code == TPID_OUTPUT) {
        rule.filterTpid(kit::TpidDei{outputTpid, std::nullopt}, tag);
    } else {
        rule.filterTpid(tpidTreatmentOf(code, outputTpid), tag);
    }
}

void printInnerAction(const Row& row) {
    std::printf(
        "insertExtVlanDsTagRules: innerVlanPrioAction: %d, innerVlanIdAction: %d, innerTpidAction: %d, outputTpid: %d "
        "\n",
        row.innerVlanPrioAction, row.innerVlanIdAction, row.innerTpidAction, row.outputTpid);
}

void matchSingleTag(kit::TagRule& rule, const Row& row) {
    if (isPbits(row.innerVlanPrioAction)) rule.filterPbits(row.innerVlanPrioAction, 0);
    if (row.innerVlanPrioAction == kPrioFromInner && mayCopyInnerPbits(row) && isPbits(row.innerVlanPrioFilter))
        rule.filterPbits(row.innerVlanPrioFilter, 0);
    if (isVid(row.innerVlanIdAction)) rule.filterVid(row.innerVlanIdAction, 0);
    if (row.innerVlanIdAction == kVidFromInner && mayCopyInnerVid(row)) rule.filterVid(row.innerVlanIdFilter, 0);
    matchWrittenTpid(rule, row.innerTpidAction, row.outputTpid, 0);
    printInnerAction(row);
}

void matchBothTags(kit::TagRule& rule, const Row& row) {
    std::printf("insertExtVlanDsTagRules: outerVlanPrioAction: %d, outerVlanIdAction: %d, outerTpidAction: %d \n",
                row.outerVlanPrioAction, row.outerVlanIdAction, row.outerTpidAction);
    if (isPbits(row.outerVlanPrioAction)) rule.filterPbits(row.outerVlanPrioAction, 0);
    if (isVid(row.outerVlanIdAction)) rule.filterVid(row.outerVlanIdAction, 0);
    if (row.outerTpidAction == TPID_OUTPUT) {
        rule.setEtherType(row.outputTpid).copyCfi(0, 0);  // kept: written, not filtered on, unlike the inner tag's
    } else {
        matchWrittenTpid(rule, row.outerTpidAction, row.outputTpid, 0);
    }
    printInnerAction(row);
    if (isPbits(row.innerVlanPrioAction)) rule.filterPbits(row.innerVlanPrioAction, 1);
    if (isVid(row.innerVlanIdAction)) rule.filterVid(row.innerVlanIdAction, 1);
    matchWrittenTpid(rule, row.innerTpidAction, row.outputTpid, 1);
}

void restoreInnerPbitsAndVid(kit::TagRule& rule, const Row& row, int tag) {
    const auto tagIndex = static_cast<std::uint32_t>(tag);
    if (isPbits(row.innerVlanPrioFilter)) {
        std::printf("insertExtVlanDsTagRules: innerVlanPrioFilter: %d, tagIndex: %d \n", row.innerVlanPrioFilter, tag);
        rule.setPbits(row.innerVlanPrioFilter, tagIndex);
    }
    if (isVid(row.innerVlanIdFilter)) {
        std::printf("insertExtVlanDsTagRules: innerVlanIdFilter: %d, tagIndex: %d \n", row.innerVlanIdFilter, tag);
        rule.setVid(row.innerVlanIdFilter, tagIndex);
    }
}

void restoreBothTags(kit::TagRule& rule, const Row& row) {
    if (isPbits(row.outerVlanPrioFilter)) {
        std::printf("insertExtVlanDsTagRules: outerVlanPrioFilter: %d, tagIndex: %d \n", row.outerVlanPrioFilter, 0);
        rule.setPbits(row.outerVlanPrioFilter, 0);
    }
    // Kept: the VID comes from the p-bit action and the line names the other direction; the daemon relies on it.
    if (isVid(row.outerVlanPrioAction)) {
        std::printf("insertExtVlanUsTagRules: outerVlanPrioAction: %d, tagIndex: %d \n", row.outerVlanPrioAction, 0);
        rule.setVid(row.outerVlanPrioAction, 0);
    }
    // Kept: the EtherType code is read as a TPID code.
    rule.setTpid(tpidFilterOf(row.etherTypeFilter, row.inputTpid), 0);
    rule.setTpid(tpidFilterOf(row.innerTpidFilter, row.inputTpid), 1);
    restoreInnerPbitsAndVid(rule, row, 1);
}

void restoreTags(kit::TagRule& rule, const Row& row) {
    if (!innerAdded(row) || row.innerVlanPrioFilter == kPrioNoTag) return;
    if (outerAdded(row) && row.outerVlanPrioFilter != kPrioNoTag) return restoreBothTags(rule, row);
    restoreInnerPbitsAndVid(rule, row, 0);
    rule.setTpid(tpidFilterOf(row.innerTpidFilter, row.inputTpid), 0);
}

// The number of tags that the frame carries downstream, by what the row filters on, removes and adds.
struct DownstreamTables {
    std::uint32_t removeNone, removeOuter, removeBoth;
};
// clang-format off
constexpr DownstreamTables kDownstreamTables[3][4] = {
    //              adds none  only inner  only outer  both
    /* untagged */  {{0, 0, 0}, {1, 0, 0}, {0, 0, 0}, {2, 1, 0}},
    /* one tag */   {{1, 0, 0}, {2, 1, 0}, {1, 0, 0}, {2, 2, 1}},
    /* two tags */  {{2, 1, 0}, {3, 2, 1}, {2, 1, 0}, {3, 3, 2}},
};
// clang-format on

std::uint32_t downstreamTable(const Row& row) {
    const std::size_t filtered = row.filterTagCount <= VLAN_FILTER_TYPE_DOUBLE_TAG ? row.filterTagCount : 0;
    const std::size_t added = (outerAdded(row) ? 2 : 0) + (innerAdded(row) ? 1 : 0);
    const DownstreamTables& tables = kDownstreamTables[filtered][added];
    if (row.removeType == 2) return tables.removeBoth;
    if (row.removeType == 1) return tables.removeOuter;
    if (filtered == VLAN_FILTER_TYPE_DOUBLE_TAG && bothAdded(row)) {
        std::printf("Filter on 4-tagged frames not supported, outerVlanPrioAction=%d, innerVlanPrioAction=%d",
                    row.outerVlanPrioAction, row.innerVlanPrioAction);
    }
    return tables.removeNone;
}

bool wantsDownstreamRule(const Row& row) {
    constexpr std::uint16_t kForwardUnmodified = 1;
    constexpr std::uint16_t kDiscardAll = 8;
    return row.dsMode != kForwardUnmodified && row.dsMode != kDiscardAll;
}

}  // namespace

// Kept: vlanctl is opened once more and not closed here. The multicast set-up, which calls this, has opened it already
// and closes it once; vlanctl holds no state but the pending rule, so that a kit::VlanCtlSession would only add a call.
int EtherSwitchBcm380::insertExtVlanUsTagRules(const BridgeServiceProvisioning* bridgeProv, std::uint16_t uniPort,
                                               std::uint16_t gemPortIndex, char* devIfc, char* vlanIfc) {
    static_cast<void>(uniPort);
    static_cast<void>(gemPortIndex);
    if (bridgeProv == nullptr || devIfc == nullptr || vlanIfc == nullptr) return 0;
    const Row& row = *bridgeProv;
    vlanCtl_init();
    kit::TagRule rule;
    std::printf("insertExtVlanUsTagRules: filter on vlanCtl_setReceiveVlanDevice ");
    rule.bind(VLANCTL_DIRECTION_RX, vlanIfc);

    const bool filtersOuter = row.outerVlanPrioFilter != kPrioNoTag;
    if (filtersOuter) filterOuterTag(rule, row);
    if (row.innerVlanPrioFilter != kPrioNoTag) filterInnerTag(rule, row, filtersOuter ? 1 : 0);
    filterTypes(rule, row);
    changeTagCount(rule, row.tagTreatment);
    if (onlyInnerAdded(row)) treatSingleTag(rule, row);
    if (bothAdded(row)) treatBothTags(rule, row);

    std::printf("insertExtVlanUsTagRules: insertTagRule Rx direction, filterType: %d,uniInterfaceNameu:%s \n",
                row.filterTagCount, devIfc);
    kit::insertLooseRule({devIfc, VLANCTL_DIRECTION_RX, row.filterTagCount}, rule);
    return 1;
}

int EtherSwitchBcm380::insertExtVlanDsTagRules(const BridgeServiceProvisioning* bridgeProv, std::uint16_t uniPort,
                                               std::uint16_t gemPortIndex, char* devIfc, char* vlanIfc) {
    static_cast<void>(uniPort);
    static_cast<void>(gemPortIndex);
    if (bridgeProv == nullptr || devIfc == nullptr || vlanIfc == nullptr) return 0;
    const Row& row = *bridgeProv;
    std::printf("insertExtVlanDsTagRules: dsMode=%d, devIfc=%s, vlanIfc=%s\n", row.dsMode, devIfc, vlanIfc);
    if (!wantsDownstreamRule(row)) return 1;
    kit::TagRule rule;
    std::printf("insertExtVlanDsTagRules: filter on vlanCtl_filterOnTxVlanDevice ");
    rule.bind(VLANCTL_DIRECTION_TX, vlanIfc);

    if (onlyInnerAdded(row)) matchSingleTag(rule, row);
    if (bothAdded(row)) matchBothTags(rule, row);
    revertTagCount(rule, row.tagTreatment);
    restoreTags(rule, row);

    const std::uint32_t table = downstreamTable(row);
    std::printf("insertExtVlanDsTagRules: insertTagRule direction: %d, txFilterType: %d,uniInterfaceNameu:%s \n",
                static_cast<int>(VLANCTL_DIRECTION_TX), static_cast<int>(table), devIfc);
    kit::insertLooseRule({devIfc, VLANCTL_DIRECTION_TX, table}, rule);
    return 1;
}
