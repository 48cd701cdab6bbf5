// Linux bridges: the default bridge, the bridge of a service, and what joins and leaves them.
#include <sys/time.h>
#include <unistd.h>

#include <cstdio>

#include "BRCM/BCM968580/DATA/EngineNames.h"
#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "bridge/BridgeControl.h"
#include "hal/Text.h"
#include "state/Facts.h"
#include "state/Journal.h"

std::map<std::uint32_t, std::uint32_t> m_BridgeIdToUniId;

namespace {

constexpr int kDefaultBridgePorts = 8;
constexpr unsigned kBridgeSettleSeconds = 2;  // before a VLAN device is made on a bridge that has just come up
constexpr int kFailed = -1;

DeviceName bridgeNameOf(unsigned bridgeId) {
    return DeviceName("%s%d", "br", static_cast<int>(bridgeId));
}

unsigned uniNumberOf(unsigned short uniPort) {
    return static_cast<unsigned>(uniPort - 1);
}

// Looked up by UNI port but stored by bridge id. Kept: the removal of a UNI relies on which pairs are recorded. A
// bridge keeps its first UNI port, and a port whose number equals a recorded bridge id is not recorded.
void recordUniOfBridge(unsigned short bridgeId, unsigned short uniPort) {
    if (m_BridgeIdToUniId.count(uniPort) != 0) return;
    std::printf("Added to m_BridgeIdToUniId CONFIGURE BRIDGE: bridgeId:%d, uniPort:%d \n", bridgeId, uniPort);
    m_BridgeIdToUniId.emplace(bridgeId, uniPort);
    state::touched(state::Book::BridgeUni, std::uint32_t{bridgeId});
}

void configureDefaultBridge(EtherSwitchBcm380& engine) {
    if (engine.isInterfaceExisted(kDefaultBridge)) return;
    std::printf("Configuring default bridge:%s!!!", kDefaultBridge);
    engine.addBridgeInterface(kDefaultBridge);
    for (int port = 0; port < kDefaultBridgePorts; ++port) {
        engine.addInterfaceToBridgeGroup(kDefaultBridge, DeviceName("%s%d", "sid", port).get());
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

// Takes a VLAN device out of its bridge; the result is the control socket's.
int leaveBridge(const DeviceName& bridge, const DeviceName& vlan) {
    if (const int error = br_init(); error != 0) return error;
    if (br_del_interface(bridge.get(), vlan.get()) == 0) state::left(vlan.get());
    return br_shutdown();
}

}  // namespace

bool EtherSwitchBcm380::configureBridge(unsigned short bridgeId, unsigned short uniPort, bool isIpHost) {
    std::printf("\n Inside  main configureBridge of EtherSwitchBcm380 Start. BridgeId(%u), UniPort(%u), isIpHost(%u)\n",
                bridgeId, uniPort, isIpHost ? 1u : 0u);
    configureDefaultBridge(*this);
    DeviceName bridge = bridgeNameOf(bridgeId);
    if (uniPort == 0) return configureAniSide(*this, bridge, bridgeId, uniPort);
    if (isIpHost) return configureIpHostSide(*this, bridge, bridgeId, uniPort);
    return configureUniSide(*this, bridge, bridgeId, uniPort);
}

bool EtherSwitchBcm380::addBridgeInterface(const char* bridgeName) {
    if (bridgeName == nullptr) return false;
    if (isInterfaceExisted(bridgeName)) {
        state::deviceStands(bridgeName);
        return true;
    }
    if (br_init() != 0) return true;  // Kept: a service is not refused for want of a control socket
    const state::BegunStep step(state::Step::MakeBridge, bridgeName);
    const bool added = br_add_bridge(bridgeName) == 0;
    if (added) {
        ifUp(bridgeName);
        br_set_stp_state(bridgeName, 0);
        timeval noDelay{};
        br_set_bridge_forward_delay(bridgeName, &noDelay);
        state::deviceMade(bridgeName);
        // A new bridge is not announced. "sendarp -s br0 -d %s" would be the command, with the bridge's name.
    }
    br_shutdown();
    return added;
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
    int result = br_init();
    if (result == 0) {
        result = br_add_interface(bridgeName, ifName);
        if (result == 0) state::joined(bridgeName, ifName);
        br_shutdown();
    }
    // The kernel refuses a device that is a member already; the caller has what it wants then.
    std::printf("interface name: %s add to bridge : %s ret: %d retVal: %d \n", ifName, bridgeName, 1, result);
    return true;
}

int EtherSwitchBcm380::removeUniInterfaceFromBridgeGroup(unsigned short bridgeId, unsigned short uniPort) {
    const DeviceName bridge = bridgeNameOf(bridgeId);
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
    return leaveBridge(bridge, vlan);
}

int EtherSwitchBcm380::removeAniInterfaceFromBridgeGroup(unsigned short bridgeId) {
    const DeviceName bridge = bridgeNameOf(bridgeId);
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
    return leaveBridge(bridge, vlan);
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
    const state::BegunStep step(state::Step::DeleteAniPair, bridgeId);
    deleteAniVlanInterface(ani.get(), vlan.get());
    return true;
}

bool EtherSwitchBcm380::deleteBridgeInterface(unsigned short bridgeId) {
    const DeviceName bridge = bridgeNameOf(bridgeId);
    if (!isInterfaceExisted(bridge.get())) {
        std::printf("bridgeInterfaceName:%s is not present!!!", bridge.get());
        return false;
    }
    const state::BegunStep step(state::Step::DeleteBridge, bridgeId);
    ifDown(bridge.get());  // the kernel does not delete a bridge that is up
    if (br_init() != 0) return true;
    const bool deleted = br_del_bridge(bridge.get()) == 0;
    if (deleted) state::deviceGone(bridge.get());
    br_shutdown();
    return deleted;
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
