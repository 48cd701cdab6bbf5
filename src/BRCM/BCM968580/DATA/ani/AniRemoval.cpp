// Taking the ANI side of a bridge service down again, and the runner tables of its p-bits.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "BRCM/BCM968580/DATA/EngineMaps.h"
#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "hal/Shell.h"
#include "hal/Text.h"
#include "kit/GemPorts.h"

std::int16_t m_aniTagRuleId = 0;

namespace {

constexpr int kFirstTabledBridge = 256;  // the runner's p-bit tables count from this bridge id
constexpr const char* kUniPrefix = "sid";

// The LAN port whose IGMP snooping comes and goes with a bridge.
struct SnoopingPort {
    std::uint16_t bridgeId;
    int lanPort;
};
constexpr SnoopingPort kSnoopingPorts[] = {{256, 4}, {257, 0}};

void stopSnooping(std::uint16_t bridgeId) {
    for (const SnoopingPort& port : kSnoopingPorts) {
        if (port.bridgeId != bridgeId) continue;
        const CommandText command("bs /b/c port/index=lan%d ingress_filter[igmp]={enabled=no,action=host}",
                                  port.lanPort);
        runShell(command.get());
    }
}

// The ANI devices and the bridge stay: the unicast service of the same bridge uses them.
bool removeMulticastRules(EtherSwitchBcm380& engine, const BridgeServiceProvisioning& record) {
    mcast = 0;
    std::printf("\n entered mcast deprovisioning\n ");
    const std::uint16_t gemIndex = kit::gemPortById(record.gemPortId).port.gemIndex;
    DeviceName aniName;
    engine.getInterfaceName(PHY_GPON, record.bridgeId, aniName.get());
    if (!engine.isInterfaceExisted(aniName.get())) {
        std::printf("aniInterfaceName:%s is not present!!!", aniName.get());
        return false;
    }
    VLAN_RULE_MAP_ENTRY* entry = nullptr;
    if (!engine.findVlanRuleMapEntry(aniName.get(), gemIndex, &entry)) {
        std::printf("aniInterfaceName:%s rules are not present!!!", aniName.get());
        return false;
    }
    engine_maps::setLastMulticastRule(static_cast<std::int16_t>(entry->newRules[0].tagRuleId));
    std::printf("m_aniTagRuleId:%d is!!!", m_aniTagRuleId);
    engine.deleteVlanRuleMapEntry(aniName.get(), gemIndex);
    return true;
}

}  // namespace

int EtherSwitchBcm380::unsetPbitToGemTable(unsigned short bridgeId) {
    const CommandText command("bs /b/d pbit_to_gem/index=%d", bridgeId - kFirstTabledBridge);
    std::printf("unsetPbitToGemTable=========>%s", command.get());
    return std::system(command.get());
}

int EtherSwitchBcm380::unsetPbitToQueue(unsigned short bridgeId) {
    const CommandText command("bs /b/d pbit_to_queue/table=%d", bridgeId - kFirstTabledBridge);
    std::printf("unsetPbitToQueue=========>%s", command.get());
    return std::system(command.get());
}

bool EtherSwitchBcm380::unsetDscpToPbitsTable(char* uniName) {
    const std::size_t prefix = std::strlen(kUniPrefix);
    if (uniName == nullptr || std::strncmp(uniName, kUniPrefix, prefix) != 0) return false;
    const int table = static_cast<int>(std::strtol(uniName + prefix, nullptr, 10));
    const CommandText command("bs /bdmf/d dscp_to_pbit/table=%d,qos_mapping=no", table);
    std::printf("dscptopbittable =========>%s,=========>%d", command.get(), table);
    runShell(command.get());
    return true;
}

bool EtherSwitchBcm380::deprovisionAniSideBridge(const BridgeServiceProvisioning* bridgeProv) {
    if (bridgeProv == nullptr) return false;
    const std::uint16_t bridgeId = bridgeProv->bridgeId;
    std::printf("DEPROVISION ANI SIDE of bridgeId: %u\n", bridgeId);
    stopSnooping(bridgeId);
    // Kept: counted for every service, multicast or not; the count is only tested against 0.
    engine_maps::countMulticastServices(-1);
    if (bridgeProv->isMulticast != 0 && bridgeProv->multicastService != 0)
        return removeMulticastRules(*this, *bridgeProv);

    removeAniInterfaceFromBridgeGroup(bridgeId);
    deleteAniInterface(bridgeId);
    if (bridgeId != 0) deleteBridgeInterface(bridgeId);
    return true;
}
