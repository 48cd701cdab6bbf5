// What the files of the UNI-side tagging share: the codes of a tagging row, and the steps that have a file of their
// own.
#ifndef BRCM_BCM968580_DATA_UNI_TAGGING_H
#define BRCM_BCM968580_DATA_UNI_TAGGING_H

#include <cstdint>
#include <optional>

#include "BRCM/BCM968580/DATA/EngineRecords.h"
#include "BRCM/BCM968580/DATA/FilterBytes.h"
#include "BRCM/BCM968580/DATA/TagCodes.h"
#include "BRCM/BCM968580/DATA/TagRule.h"
#include "hal/BridgeRecords.h"

class EtherSwitchBcm380;

namespace uni_tagging {

constexpr std::uint32_t kTpidCodeOutput = 3;  // of a lone inner treatment: the output TPID, DEI as it comes
constexpr std::uint32_t kTpidCodeDei1 = 7;

constexpr std::uint32_t kRemoveNone = 0;
constexpr std::uint32_t kRemoveOuter = 1;
constexpr std::uint32_t kRemoveBoth = 2;
constexpr std::uint32_t kRemoveDiscard = 3;

constexpr std::uint32_t kDownstreamInverse = 0;

inline bool hasTag(const VlanTagFilter_t& tag) {
    return tag.prio != tag_codes::kPrioNoTag;
}

inline bool filtersUntagged(const VlanExtVlanTagOper_t& row) {
    return !hasTag(row.outer_filter) && !hasTag(row.inner_filter);
}

// An untagged row whose pushed tag takes its p-bits from the DSCP.
inline bool mapsDscpOfUntagged(const VlanExtVlanTagOper_t& row, VlanTagAction tagAction) {
    return filtersUntagged(row) && tagAction == VLAN_TAG_ACTION_PUSH &&
           row.inner_treatment.prio == tag_codes::kPrioFromDscp;
}

// Treatments that copy take effect for these rows only; in the others the tag to copy from may be missing.
inline bool copiesInnerTag(const VlanExtVlanTagOper_t& row, VlanTagAction tagAction) {
    return (row.filterType == VLAN_FILTER_TYPE_SINGLE_TAG && tagAction == VLAN_TAG_ACTION_PUSH) ||
           tagAction == VLAN_TAG_ACTION_TRANSLATE;
}

// A lone inner treatment also knows the output TPID with its DEI as it comes.
inline std::optional<kit::TpidDei> loneTpidTreatmentOf(std::uint32_t code, std::uint32_t outputTpid) {
    if (code == kTpidCodeOutput) return kit::TpidDei{outputTpid, std::nullopt};
    return tpidTreatmentOf(code, outputTpid);
}

constexpr std::uint16_t kAllOnesVid = 8191;  // of a 13-bit field

// G.988 deletes a row with treatment words of all ones.
inline bool isDeleteRow(const UniDataProvisioning& record) {
    return record.removeType == kRemoveDiscard &&  //
           record.outerTreatmentTpidDe == kTpidCodeDei1 && record.outerTreatmentVlanId == kAllOnesVid &&
           record.outerTreatmentPrio == tag_codes::kPrioNoTag &&  //
           record.innerTreatmentTpidDe == kTpidCodeDei1 && record.innerTreatmentVlanId == kAllOnesVid &&
           record.innerTreatmentPrio == tag_codes::kPrioNoTag;
}

// Index that the device names of a UNI port count with; port 0 gives the name "sid-1".
inline unsigned int uniIndex(std::uint16_t uniPort) {
    return static_cast<unsigned int>(uniPort - 1);
}

// OamNotify.cpp: tells the Ethernet OAM agent which service tag the row gives a customer VLAN.
void notifyEthernetOam(EtherSwitchBcm380& engine, const VlanExtVlanTagOper_t& row, std::uint8_t uniPort,
                       const char* uniVirtualName, const char* aniVirtualName);

}  // namespace uni_tagging

#endif
