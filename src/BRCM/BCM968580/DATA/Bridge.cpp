// Linux bridges: the default bridge, the bridge of a service, and what joins and leaves them.
#include <unistd.h>

#include <cstdio>

#include "BRCM/BCM968580/DATA/EngineMaps.h"
#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "hal/Text.h"
#include "kit/DeviceNames.h"
#include "kit/Devices.h"
#include "kit/StateEntries.h"

std::map<std::uint32_t, std::uint32_t> m_BridgeIdToUniId;

namespace {

constexpr unsigned kDefaultBridgePorts = 8;
constexpr unsigned kBridgeSettleSeconds = 2;  // before a VLAN device is made on a bridge that has just come up
constexpr int kFailed = -1;

unsigned uniNumberOf(unsigned short uniPort) {
    return static_cast<unsigned>(uniPort - 1);
}

// Looked up by UNI port but stored by bridge id. Kept: the removal of a UNI relies on which pairs are recorded. A
// bridge keeps its first UNI port, and a port whose number equals a recorded bridge id is not recorded.
void recordUniOfBridge(unsigned short bridgeId, unsigned short uniPort) {
    if (m_BridgeIdToUniId.count(uniPort) != 0) return;
    std::printf("Added to m_BridgeIdToUniId CONFIGURE BRIDGE: bridgeId:%d, uniPort:%d \n", bridgeId, uniPort);
    engine_maps::associateUni(bridgeId, uniPort);
}

void configureDefaultBridge(EtherSwitchBcm380& engine) {
    if (engine.isInterfaceExisted(kDefaultBridge)) return;  // a restart keeps it while any bridge is asked for
    std::printf("Configuring default bridge:%s!!!", kDefaultBridge);
    engine.addBridgeInterface(kDefaultBridge);
    for (unsigned port = 0; port < kDefaultBridgePorts; ++port) {
        engine.addInterfaceToBridgeGroup(kDefaultBridge, kit::uniName(port).get());
    }
}

bool configureIpHostSide(EtherSwitchBcm380& engine, DeviceName& bridge, unsigned short bridgeId,
                         unsigned short uniPort) {
    DeviceName vlan("%s.%d", bridge.get(), uniPort);
    engine.ifUp(bridge.get());
    sleep(kBridgeSettleSeconds);
    if (!engine.createVlanInterface(uniPort, false, true, bridge.get(), vlan.get())) {
        std::printf("createVlanInterface failed to create uniVirtualName name : %s ", vlan.get());
        return false;
    }
    recordUniOfBridge(bridgeId, uniPort);
    std::printf("CONFIGURE BRIDGE: ifName:%s, uniVirtualName:%s bridgeId: %u, uniPort:%u", bridge.get(), vlan.get(),
                bridgeId, uniPort);
    return true;
}

bool configureAniSide(EtherSwitchBcm380& engine, const DeviceName& bridge, unsigned short bridgeId,
                      unsigned short uniPort) {
    if (!engine.addBridgeInterface(bridge.get())) {
        std::printf("addBridgeInterface(%s) failed.", bridge.get());
        return false;
    }
    DeviceName ani;
    engine.getInterfaceName(PHY_GPON, bridgeId, ani.get());
    if (!engine.createAniVlanInterface(ani.get())) {
        std::printf("createAniVlanInterface failed to create aniInterfaceName name : %s ", ani.get());
        return false;
    }
    DeviceName vlan;
    engine.getVirtualInterfaceName(PHY_GPON, bridgeId, bridgeId, vlan.get());
    if (!engine.createVlanInterface(bridgeId, false, true, ani.get(), vlan.get())) {
        std::printf("createAniVlanInterface failed to create aniVirtualName name : %s ", vlan.get());
        return false;
    }
    // Bridge 0 is the gateway's: the VEIP sits on its ANI device, which stays out of every bridge.
    if (bridgeId != 0 && !engine.addInterfaceToBridgeGroup(bridge.get(), vlan.get())) {
        std::printf("failed to addInterfaceToBridge aniVirtualName name : %s ", vlan.get());
        return false;
    }
    std::printf("\nCONFIGURE BRIDGE: ifName:%s, aniInterfaceName:%s, aniVirtualName:%s, bridgeId: %u, uniPort:%u\n",
                bridge.get(), ani.get(), vlan.get(), bridgeId, uniPort);
    return true;
}

bool configureUniSide(EtherSwitchBcm380& engine, const DeviceName& bridge, unsigned short bridgeId,
                      unsigned short uniPort) {
    if (!engine.isInterfaceExisted(bridge.get())) {
        std::printf("Bridge interface name: %s doesn't exist to add UNI Interface \n", bridge.get());
        return false;
    }
    DeviceName uni;
    engine.getInterfaceName(PHY_ETHERNET, uniNumberOf(uniPort), uni.get());
    if (!engine.isInterfaceExisted(uni.get())) {
        std::printf("interface %s does not exist", uni.get());
        std::printf("Failed to create %s", uni.get());
        return false;
    }
    std::printf("trying to make %s up", uni.get());
    engine.ifUp(uni.get());
    DeviceName vlan;
    engine.getVirtualInterfaceName(PHY_ETHERNET, uniNumberOf(uniPort), bridgeId, vlan.get());
    if (!engine.createVlanInterface(bridgeId, false, true, uni.get(), vlan.get())) {
        std::printf("createVlanInterface failed to create uniVirtualName name : %s ", vlan.get());
        return false;
    }
    if (!engine.addInterfaceToBridgeGroup(bridge.get(), vlan.get())) {
        std::printf("failed to addInterfaceToBridge uniVirtualName name : %s ", vlan.get());
        return false;
    }
    recordUniOfBridge(bridgeId, uniPort);
    std::printf("CONFIGURE BRIDGE: ifName:%s, uniInterfaceName:%s, uniVirtualName:%s bridgeId: %u, uniPort:%u",
                bridge.get(), uni.get(), vlan.get(), bridgeId, uniPort);
    return true;
}

}  // namespace

bool EtherSwitchBcm380::configureBridge(unsigned short bridgeId, unsigned short uniPort, bool isIpHost) {
    std::printf("\n Inside  main configureBridge of EtherSwitchBcm380 Start. BridgeId(%u), UniPort(%u), isIpHost(%u)\n",
                bridgeId, uniPort, isIpHost ? 1u : 0u);
    configureDefaultBridge(*this);
    DeviceName bridge = kit::bridgeName(bridgeId);
    if (uniPort == 0) return configureAniSide(*this, bridge, bridgeId, uniPort);
    if (isIpHost) return configureIpHostSide(*this, bridge, bridgeId, uniPort);
    return configureUniSide(*this, bridge, bridgeId, uniPort);
}

bool EtherSwitchBcm380::addBridgeInterface(const char* bridgeName) {
    if (bridgeName == nullptr) return false;
    if (isInterfaceExisted(bridgeName)) {
        kit::noteFoundDevice(bridgeName);
        return true;
    }
    // Kept: a service is not refused for want of a control socket. A new bridge is not announced; "sendarp -s br0 -d
    // %s" would be the command, with the bridge's name.
    return kit::createBridge(bridgeName) != InterfaceResult::Refused;
}

bool EtherSwitchBcm380::addInterfaceToBridgeGroup(const char* bridgeName, const char* ifName) {
    if (ifName == nullptr) {
        std::printf("Invalid device interface name: %s", printable(ifName));
        return false;
    }
    if (!isInterfaceExisted(ifName)) {
        std::printf("interface name: %s doesn't exist", ifName);
        return false;
    }
    if (bridgeName == nullptr) {
        std::printf("Invalid bridge interface name: %s", printable(bridgeName));
        return false;
    }
    if (!isInterfaceExisted(bridgeName)) {
        std::printf("interface name: %s doesn't exist", bridgeName);
        return false;
    }
    const int result = kit::addBridgePort(bridgeName, ifName);
    // The kernel refuses a device that is a member already; the caller has what it wants then.
    std::printf("interface name: %s add to bridge : %s ret: %d retVal: %d \n", ifName, bridgeName, 1, result);
    return true;
}

int EtherSwitchBcm380::removeUniInterfaceFromBridgeGroup(unsigned short bridgeId, unsigned short uniPort) {
    const DeviceName bridge = kit::bridgeName(bridgeId);
    DeviceName uni;
    getInterfaceName(PHY_ETHERNET, uniNumberOf(uniPort), uni.get());
    DeviceName vlan;
    getVirtualInterfaceName(PHY_ETHERNET, uniNumberOf(uniPort), bridgeId, vlan.get());

    if (!isInterfaceExisted(uni.get())) std::printf("aniInterfaceName:%s is not present!!!", uni.get());
    if (!isInterfaceExisted(vlan.get())) {
        std::printf("uniVirtualInterfaceName:%s is not present!!!", vlan.get());
    } else if (!isInterfaceExisted(bridge.get())) {
        std::printf("Bridge interface name: %s doesn't exist", bridge.get());
        return kFailed;
    }
    return kit::removeBridgePort(bridge.get(), vlan.get());
}

int EtherSwitchBcm380::removeAniInterfaceFromBridgeGroup(unsigned short bridgeId) {
    const DeviceName bridge = kit::bridgeName(bridgeId);
    DeviceName ani;
    getInterfaceName(PHY_GPON, bridgeId, ani.get());
    DeviceName vlan;
    getVirtualInterfaceName(PHY_GPON, bridgeId, bridgeId, vlan.get());

    if (!isInterfaceExisted(ani.get())) std::printf("aniInterfaceName:%s is not present!!!", ani.get());
    if (!isInterfaceExisted(vlan.get())) {
        std::printf("aniVirtualInterfaceName:%s is not present!!!", vlan.get());
    } else if (!isInterfaceExisted(bridge.get())) {
        std::printf("Bridge interface name: %s doesn't exist", bridge.get());
        return kFailed;
    }
    return kit::removeBridgePort(bridge.get(), vlan.get());
}

bool EtherSwitchBcm380::deleteAniInterface(unsigned short bridgeId) {
    DeviceName ani;
    getInterfaceName(PHY_GPON, bridgeId, ani.get());
    if (!isInterfaceExisted(ani.get())) {
        std::printf("aniInterfaceName:%s is not present!!!", ani.get());
        return false;
    }
    DeviceName vlan;
    getVirtualInterfaceName(PHY_GPON, bridgeId, bridgeId, vlan.get());
    if (!isInterfaceExisted(vlan.get())) {
        std::printf("aniVirtualInterfaceName:%s is not present!!!", vlan.get());
        return false;
    }
    const kit::BegunStep step(kit::Step::DeleteAniPair, bridgeId);
    deleteAniVlanInterface(ani.get(), vlan.get());
    return true;
}

bool EtherSwitchBcm380::deleteBridgeInterface(unsigned short bridgeId) {
    const DeviceName bridge = kit::bridgeName(bridgeId);
    if (!isInterfaceExisted(bridge.get())) {
        std::printf("bridgeInterfaceName:%s is not present!!!", bridge.get());
        return false;
    }
    return kit::deleteServiceBridge(bridgeId) != InterfaceResult::Refused;
}

bool EtherSwitchBcm380::deleteUniInterface(unsigned short bridgeId, unsigned short uniPort) {
    DeviceName uni;
    getInterfaceName(PHY_ETHERNET, uniNumberOf(uniPort), uni.get());
    if (!isInterfaceExisted(uni.get())) {
        std::printf("uniInterfaceName:%s is not present!!!", uni.get());
        return false;
    }
    DeviceName vlan;
    getVirtualInterfaceName(PHY_ETHERNET, uniNumberOf(uniPort), bridgeId, vlan.get());
    if (!isInterfaceExisted(vlan.get())) {
        std::printf("uniVirtualInterfaceName:%s is not present!!!", vlan.get());
        return false;
    }
    deleteVlanInterface(bridgeId, false, true, uni.get(), vlan.get());
    uniVlanDevices_[uni.get()].erase(vlan.get());
    return true;
}
