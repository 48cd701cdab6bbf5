// A UNI's side of a service: its VLAN device on the bridge and the rows of its extended VLAN tagging operation.
#include <cstdio>

#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/DATA/uni/UniTagging.h"
#include "hal/Text.h"
#include "kit/Asked.h"
#include "platform/vlanctl.h"

using namespace tag_codes;
using namespace uni_tagging;

std::map<std::uint32_t, bool> m_dscpConfigInfo;
std::map<std::uint32_t, bool> m_cTagConfigInfo;

namespace {

constexpr std::uint16_t kLastEthernetUniPort = 4;
constexpr std::uint16_t kFirstIpHostPort = 6;

}  // namespace

bool EtherSwitchBcm380::configureUniInterface(const UniDataProvisioning* uniProv) {
    if (uniProv == nullptr) return false;
    std::printf("RECEIVED UNISIDE PROVISIONING: bridgeId:%u, uniPort:%u \n", uniProv->bridgeId, uniProv->uniPort);
    if (isDeleteRow(*uniProv)) {
        std::printf("SENDING UNISIDE DEPROVISIONING Rules from configureUniInterface: bridgeId:%u, uniPort:%u \n",
                    uniProv->bridgeId, uniProv->uniPort);
        deprovisionUniSideDataServiceRules(uniProv);
        return true;
    }
    if (uniProv->uniPort > kLastEthernetUniPort) return true;
    if (!configureBridge(uniProv->bridgeId, uniProv->uniPort, false)) {
        std::printf("Failed to configure UNI Vlan and update to Bridge!!!");
        return false;
    }
    return true;
}

bool EtherSwitchBcm380::configureUniTagRules(const UniDataProvisioning* uniProv) {
    if (uniProv == nullptr) return false;
    std::printf("Configuring UniTagRUles for: bridgeId:%u, uniPort:%u \n", uniProv->bridgeId, uniProv->uniPort);
    VlanExtVlanTagOper_t row{};
    VlanExtVlanTagOperInfo_t info{};
    info.rows = &row;
    VlanTagAction tagAction = 0;
    parseUniDataProvisioningInfo(uniProv, &info, tagAction);

    if (uniProv->uniPort >= kFirstIpHostPort) {
        std::printf("createIpHostVlanRules Should not enter in this condition as IpHost is handled separately\n ");
        return true;
    }
    if (mapsDscpOfUntagged(row, tagAction)) std::printf("setUniSideDscpToPbitsTable ");
    if (uniProv->hasTagRules == 0) info.numberOfEntries = 0;

    const bool created =
        createUniVlanRules(&info, uniProv->bridgeId, static_cast<std::uint8_t>(uniProv->uniPort), tagAction);
    if (!created) std::printf("Failed to install UNI Vlan rules!!!");
    return created;
}

void EtherSwitchBcm380::parseUniDataProvisioningInfo(const UniDataProvisioning* uniProv, VlanExtVlanTagOperInfo_t* info,
                                                     VlanTagAction& tagAction) {
    if (uniProv == nullptr || info == nullptr) return;
    getTagRules(uniProv, info->rows);
    tagAction = uniProv->tagAction;
    info->downstreamMode = uniProv->downstreamMode;
    info->inputTpid = uniProv->inputTpid;
    info->outputTpid = uniProv->outputTpid;
    info->numberOfEntries = 1;
    std::printf("tagAction=%d,inputTpid=%x,outputTpid=%x,downstreamMode=%u", uniProv->tagAction, info->inputTpid,
                info->outputTpid, info->downstreamMode);
}

void EtherSwitchBcm380::getTagRules(const UniDataProvisioning* uniProv, VlanExtVlanTagOper_t* row) {
    if (uniProv == nullptr || row == nullptr) return;
    row->outer_filter = {uniProv->outerFilterPrio, uniProv->outerFilterVlanId, uniProv->outerFilterTpidDe};
    row->inner_filter = {uniProv->innerFilterPrio, uniProv->innerFilterVlanId, uniProv->innerFilterTpidDe};
    row->outer_treatment = {uniProv->outerTreatmentPrio, uniProv->outerTreatmentVlanId, uniProv->outerTreatmentTpidDe};
    row->inner_treatment = {uniProv->innerTreatmentPrio, uniProv->innerTreatmentVlanId, uniProv->innerTreatmentTpidDe};
    row->filterType = uniProv->filterType;
    row->etherType = uniProv->etherType;
    row->removeType = uniProv->removeType;

    std::printf("outer.filter.prio=%d,outer.filter.vlanId=%d,outer.filter.tpid_de=%d", uniProv->outerFilterPrio,
                uniProv->outerFilterVlanId, uniProv->outerFilterTpidDe);
    std::printf("inner.filter.prio=%d,inner.filter.vlanId=%d,inner.filter.tpid_de=%d", uniProv->innerFilterPrio,
                uniProv->innerFilterVlanId, uniProv->innerFilterTpidDe);
    std::printf("outer.treatment.prio=%d,outer.treatment.vlanId=%d,outer.treatment.tpid_de=%d",
                uniProv->outerTreatmentPrio, uniProv->outerTreatmentVlanId, uniProv->outerTreatmentTpidDe);
    std::printf("inner.treatment.prio=%d,inner.treatment.vlanId=%d,inner.treatment.tpid_de=%d",
                uniProv->innerTreatmentPrio, uniProv->innerTreatmentVlanId, uniProv->innerTreatmentTpidDe);
    std::printf("etherType=%d,removeType=%d,filterType=%d", uniProv->etherType, uniProv->removeType,
                uniProv->filterType);
}

bool EtherSwitchBcm380::isDefaultTagRule(const VlanExtVlanTagOper_t* row) {
    if (row == nullptr) return false;
    if (row->removeType != kRemoveNone || hasTag(row->outer_treatment) || hasTag(row->inner_treatment)) return false;
    const bool untagged = filtersUntagged(*row) && row->etherType == ETHERTYPE_FILTER_NONE;
    const bool singleTag = row->outer_filter.prio == kPrioNoTag && row->inner_filter.prio == kPrioDefaultRow;
    const bool doubleTag = row->outer_filter.prio == kPrioDefaultRow && row->inner_filter.prio == kPrioDefaultRow;
    return untagged || singleTag || doubleTag;
}

bool EtherSwitchBcm380::createUniVlanRules(const VlanExtVlanTagOperInfo_t* info, std::uint16_t bridgeId,
                                           std::uint8_t uniPort, VlanTagAction& tagAction) {
    if (info == nullptr || info->rows == nullptr) return false;
    DeviceName uniInterface;
    DeviceName uniVirtual;
    DeviceName aniInterface;
    DeviceName aniVirtual;
    getInterfaceName(PHY_ETHERNET, uniIndex(uniPort), uniInterface.get());
    getVirtualInterfaceName(PHY_ETHERNET, uniIndex(uniPort), bridgeId, uniVirtual.get());
    std::printf("uniInterfaceName:%s, uniVirtualName:%s", uniInterface.get(), uniVirtual.get());
    getInterfaceName(PHY_GPON, bridgeId, aniInterface.get());
    getVirtualInterfaceName(PHY_GPON, bridgeId, bridgeId, aniVirtual.get());
    std::printf("aniInterfaceName:%s, aniVirtualName:%s", aniInterface.get(), aniVirtual.get());

    // An identical row is never installed twice. Also asked for a UNI without a row: its record carries row fields too.
    const VlanExtVlanTagOper_t& row = *info->rows;
    for (const auto direction : {VLANCTL_DIRECTION_RX, VLANCTL_DIRECTION_TX}) {
        if (isVlanRuleMapExist(uniInterface.get(), uniPort, static_cast<std::uint16_t>(direction), &row.outer_filter,
                               &row.inner_filter, row.etherType)) {
            kit::noteIncomplete();
            return true;
        }
    }
    insertUniTagRules(info, uniPort, bridgeId, uniInterface.get(), uniVirtual.get(), tagAction, false);

    createVlanFlows(aniVirtual.get(), uniVirtual.get());
    createVlanFlows(uniVirtual.get(), aniVirtual.get());
    std::puts("sent vlan notify info to packet tx/rx");
    std::printf("Created vlan flows aniVirtualName:%s uniVirtualName:%s\n", aniVirtual.get(), uniVirtual.get());

    notifyEthernetOam(*this, row, uniPort, uniVirtual.get(), aniVirtual.get());
    return true;
}
