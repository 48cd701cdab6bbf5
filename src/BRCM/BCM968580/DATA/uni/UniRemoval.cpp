// Takes back what a UNI's rows and a service's p-bit mapping have installed.
#include <cstdio>

#include "BRCM/BCM968580/DATA/EngineMaps.h"
#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/DATA/uni/UniTagging.h"
#include "hal/Text.h"
#include "kit/Runner.h"
#include "kit/StateEntries.h"
#include "platform/vlanctl.h"

using namespace uni_tagging;

namespace {

void clearModelMarks(std::uint32_t uniPort) {
    engine_maps::clearModelMarks(uniPort);
    std::printf("dscpConfigInfo and cTagConfigInfo setting FALSE on Uni Port: %d \n", static_cast<int>(uniPort));
}

}  // namespace

bool EtherSwitchBcm380::deprovisionUniSideDataServiceRules(const UniDataProvisioning* uniProv) {
    if (uniProv == nullptr) return false;
    const std::uint16_t uniPort = uniProv->uniPort;
    const std::uint16_t bridgeId = uniProv->bridgeId;
    std::printf("DEPROVISION UNI SIDE DATA SERVICE Rules of BridgeId: %u uniPortId: %u \n", bridgeId, uniPort);
    DeviceName uniInterface;
    DeviceName uniVirtual;
    getInterfaceName(PHY_ETHERNET, uniIndex(uniPort), uniInterface.get());
    getVirtualInterfaceName(PHY_ETHERNET, uniIndex(uniPort), bridgeId, uniVirtual.get());
    if (!isInterfaceExisted(uniInterface.get())) {
        std::printf("uniInterfaceName:%s is not present!!!", uniInterface.get());
        return false;
    }

    VlanExtVlanTagOper_t row{};
    VlanExtVlanTagOperInfo_t info{};
    info.rows = &row;
    VlanTagAction tagAction = 0;
    parseUniDataProvisioningInfo(uniProv, &info, tagAction);
    // Kept: the line alone; the OAM hook is not called for a row.
    std::printf("sendCeVlanDeleteNotificationToETHOAM on uniPort : %d  !!!", uniPort);

    for (const auto direction : {VLANCTL_DIRECTION_RX, VLANCTL_DIRECTION_TX}) {
        deleteVlanRuleIdFromMap(uniInterface.get(), uniPort, static_cast<std::uint16_t>(direction), &row.outer_filter,
                                &row.inner_filter);
    }

    // The flows serve the UNI's other rows as well, and have to survive the removal of this one.
    DeviceName aniVirtual;
    getVirtualInterfaceName(PHY_GPON, bridgeId, bridgeId, aniVirtual.get());
    createVlanFlows(aniVirtual.get(), uniVirtual.get());
    createVlanFlows(uniVirtual.get(), aniVirtual.get());
    return true;
}

bool EtherSwitchBcm380::deConfigureUniTagRules(std::uint16_t uniPort, std::uint16_t bridgeId) {
    std::printf("EtherSwitchBcm380::deConfigureUniTagRulesi through TMB-->TME-->SME-->SEBCM380");
    DeviceName uniVirtual;
    getVirtualInterfaceName(PHY_ETHERNET, uniIndex(uniPort), bridgeId, uniVirtual.get());
    std::printf("DEPROVISION UNI SIDE DATA SERVICE BridgeId: %u uniPortId: %u \n", bridgeId, uniPort);
    DeviceName uniInterface;
    getInterfaceName(PHY_ETHERNET, uniIndex(uniPort), uniInterface.get());
    if (!isInterfaceExisted(uniInterface.get())) {
        std::printf("uniInterfaceName:%s is not present!!!", uniInterface.get());
        return false;
    }
    kit::removeDscpShortcut(uniPort);
    unsetDscpToPbitsTable(uniInterface.get());
    const kit::BegunStep step(kit::Step::RemoveUni, uniPort, bridgeId);
    flushUniSideVlanRules(bridgeId, uniPort);
    clearModelMarks(uniPort);
    removeUniInterfaceFromBridgeGroup(bridgeId, uniPort);
    return true;
}

bool EtherSwitchBcm380::deConfigureUniInterface(std::uint16_t uniPort, std::uint16_t bridgeId) {
    std::printf("EtherSwitchBcm380::deConfigureUniInterface through TMB-->TME-->SME-->SEBCM380");
    const state::Operation operation;
    const bool deleted = deleteUniInterface(bridgeId, uniPort);
    engine_maps::dissociateUni(bridgeId);
    return deleted;
}

bool EtherSwitchBcm380::deprovisionUniSideBridge(const BridgeServiceProvisioning* bridgeProv) {
    if (bridgeProv == nullptr) return false;
    const std::uint16_t bridgeId = bridgeProv->bridgeId;
    std::printf("deprovisionUniSideBridge: bridgeId:%u\n", bridgeId);
    const auto association = m_BridgeIdToUniId.find(bridgeId);
    if (association == m_BridgeIdToUniId.end()) {
        std::printf(" m_BridgeIdToUniId.end() is empty!!!");
        return true;
    }
    const auto uniPort = static_cast<std::uint16_t>(association->second);
    DeviceName uniInterface;
    DeviceName uniVirtual;
    DeviceName aniVirtual;
    getInterfaceName(PHY_ETHERNET, uniIndex(uniPort), uniInterface.get());
    getVirtualInterfaceName(PHY_ETHERNET, uniIndex(uniPort), bridgeId, uniVirtual.get());
    getVirtualInterfaceName(PHY_GPON, bridgeId, bridgeId, aniVirtual.get());

    const kit::BegunStep step(kit::Step::RemoveUni, uniPort, bridgeId);
    flushUniSideVlanRules(bridgeId, uniPort);
    unsetDscpToPbitsTable(uniInterface.get());
    clearModelMarks(uniPort);
    removeUniInterfaceFromBridgeGroup(bridgeId, uniPort);
    deleteUniInterface(bridgeId, uniPort);
    std::printf(
        "Deleting m_BridgeIdToUniId in deproBridge to m_BridgeIdToUniId CONFIGURE BRIDGE: bridgeId:%d, uniPort:%d \n",
        bridgeId, uniPort);
    engine_maps::dissociateUni(bridgeId);
    return true;
}

bool EtherSwitchBcm380::unsetPbitData(const BridgeServiceProvisioning* bridgeProv) {
    if (bridgeProv == nullptr) return false;
    const std::uint16_t bridgeId = bridgeProv->bridgeId;
    std::printf("DEPROVISION BRIDGE SERVICE BridgeId: %u\n", bridgeId);
    fillUpPbitData(bridgeProv);
    const auto& gemPorts = xgemPortIdForPbit;
    for (const std::uint16_t gemPortId : gemPorts) {
        // kUnusedGemPort is not left out as in provisioning: flushing a port that was never mapped does no harm.
        if (gemPortId < kNoGemPort) flushAniSideVlanRules(bridgeId, gemPortId);
    }
    std::printf("DEPROVISION BRIDGE SERVICE gemPortId value of each pBit is: %u %u %u %u %u %u %u %u\n", gemPorts[0],
                gemPorts[1], gemPorts[2], gemPorts[3], gemPorts[4], gemPorts[5], gemPorts[6], gemPorts[7]);

    if (bridgeProv->restoreVlanFlows != 0) {
        DeviceName uniInterface;
        DeviceName uniVirtual;
        DeviceName aniVirtual;
        const auto association = m_BridgeIdToUniId.find(bridgeId);
        if (association != m_BridgeIdToUniId.end()) {
            const auto uniPort = static_cast<std::uint16_t>(association->second);
            getInterfaceName(PHY_ETHERNET, uniIndex(uniPort), uniInterface.get());
            getVirtualInterfaceName(PHY_ETHERNET, uniIndex(uniPort), bridgeId, uniVirtual.get());
            getVirtualInterfaceName(PHY_GPON, bridgeId, bridgeId, aniVirtual.get());
        }
        std::printf(" Debug uniinterface %s,anivirtualname %s", uniInterface.get(), aniVirtual.get());
        createVlanFlows(aniVirtual.get(), uniVirtual.get());
        createVlanFlows(uniVirtual.get(), aniVirtual.get());
    }
    std::printf("DEPROVISION BRIDGE SERVICE BridgeId: %u\n", bridgeId);
    return true;
}
