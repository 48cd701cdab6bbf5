#include "BRCM/BCM968580/DATA/forwarding/Devices.h"

#include <cerrno>

#include "BRCM/BCM968580/DATA/EngineMaps.h"
#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/DATA/forwarding/IpHost.h"
#include "device/NetworkInterface.h"
#include "hal/Text.h"
#include "kit/Devices.h"
#include "kit/StateEntries.h"

namespace forwarding {

namespace {

// What there is of the pair: the first device may be alone.
void removeAniPair(EtherSwitchBcm380& engine, std::uint16_t bridgeId) {
    DeviceName ani = kit::aniName(bridgeId);
    DeviceName vlan = kit::aniVlanName(bridgeId, bridgeId);
    if (!engine.isInterfaceExisted(ani.get())) return;
    const kit::BegunStep step(kit::Step::DeleteAniPair, bridgeId);
    if (engine.isInterfaceExisted(vlan.get())) engine.removeAniInterfaceFromBridgeGroup(bridgeId);
    engine.deleteAniVlanInterface(ani.get(), vlan.get());
}

}  // namespace

std::optional<bool> doesExist(const DeviceName& device) {
    errno = 0;
    if (interfaceIndex(device.get()) > 0) return true;
    return errno == ENODEV ? std::optional<bool>(false) : std::nullopt;
}

bool isGone(const DeviceName& device) {
    return doesExist(device) == false;
}

bool isInForce(const DeviceName& realDevice, const DeviceName& device) {
    return kit::bringUp(realDevice.get()) && kit::bringUp(device.get()) &&
           kit::dropsUnmatched(realDevice.get(), device.get());
}

DeviceName uniVlanDevice(std::uint16_t uniPort, std::uint16_t bridgeId) {
    return kit::uniVlanName(uniPort - 1U, bridgeId);
}

// Asked for again, a member is refused as busy.
bool isMember(std::uint16_t bridgeId, const DeviceName& device) {
    const int result = kit::addBridgePort(kit::bridgeName(bridgeId).get(), device.get());
    return result == 0 || result == EBUSY;
}

bool createFlows(std::uint16_t uniPort, std::uint16_t bridgeId) {
    const DeviceName uni = uniVlanDevice(uniPort, bridgeId);
    const DeviceName ani = kit::aniVlanName(bridgeId, bridgeId);
    return kit::createVlanFlows(ani.get(), uni.get()) && kit::createVlanFlows(uni.get(), ani.get());
}

bool createVeipFlows(EtherSwitchBcm380& engine, std::uint16_t bridgeId) {
    DeviceName veip;
    const DeviceName ani = kit::aniVlanName(bridgeId, bridgeId);
    engine.getVeipVlanName(veip.get());
    return kit::createVlanFlows(ani.get(), veip.get()) && kit::createVlanFlows(veip.get(), ani.get());
}

// ---- of a UNI ----

void dissociateUni(std::uint16_t uniPort, std::uint16_t bridgeId) {
    const auto association = m_BridgeIdToUniId.find(bridgeId);
    if (association != m_BridgeIdToUniId.end() && association->second == uniPort) engine_maps::dissociateUni(bridgeId);
}

bool removeUniDevice(EtherSwitchBcm380& engine, std::uint16_t uniPort, std::uint16_t bridgeId) {
    const DeviceName device = uniVlanDevice(uniPort, bridgeId);
    if (isGone(device)) return true;
    const kit::BegunStep step(kit::Step::RemoveUni, uniPort, bridgeId);
    engine.removeUniInterfaceFromBridgeGroup(bridgeId, uniPort);
    engine.deleteUniInterface(bridgeId, uniPort);
    if (!isGone(device)) return false;
    dissociateUni(uniPort, bridgeId);
    return true;
}

bool restoreUniDevice(EtherSwitchBcm380& engine, std::uint16_t uniPort, std::uint16_t bridgeId,
                      const g988::Tables& before) {
    DeviceName device = uniVlanDevice(uniPort, bridgeId);
    DeviceName uni = kit::uniName(uniPort - 1U);
    if (isGone(kit::bridgeName(bridgeId)))  // the PON side went first
        return engine.createVlanInterface(bridgeId, false, true, uni.get(), device.get());
    const auto port = before.uniPorts.find(static_cast<std::uint16_t>(uniPort - 1));
    const bool hasFlows = port != before.uniPorts.end() && port->second.bridges.count(bridgeId) != 0;
    return engine.configureBridge(bridgeId, uniPort, false) && isMember(bridgeId, device) &&
           (!hasFlows || createFlows(uniPort, bridgeId));
}

// ---- of a bridge's PON side ----

std::string removePonDevices(EtherSwitchBcm380& engine, const BridgeServiceProvisioning& record) {
    const std::uint16_t bridgeId = record.bridgeId;
    const DeviceName ani = kit::aniName(bridgeId);
    const DeviceName vlan = kit::aniVlanName(bridgeId, bridgeId);
    const DeviceName bridge = kit::bridgeName(bridgeId);
    engine.deprovisionAniSideBridge(&record);
    for (const DeviceName* device : {&vlan, &ani})
        if (!isGone(*device)) return device->get();
    return bridgeId == 0 || isGone(bridge) ? "" : bridge.get();
}

std::string restorePonDevices(EtherSwitchBcm380& engine, std::uint16_t bridgeId, bool hadBridge, bool leadsToGateway) {
    DeviceName bridge = kit::bridgeName(bridgeId);
    DeviceName ani = kit::aniName(bridgeId);
    DeviceName vlan = kit::aniVlanName(bridgeId, bridgeId);
    const bool wasLost = isGone(vlan);
    const bool isMade = hadBridge ? engine.configureBridge(bridgeId, 0, false)
                                  : engine.createAniVlanInterface(ani.get()) &&
                                        engine.createVlanInterface(bridgeId, false, true, ani.get(), vlan.get());
    if (!isMade) return std::string(vlan.get()) + " or its bridge";
    for (const DeviceName* device : {&bridge, &ani, &vlan})
        if ((hadBridge || device != &bridge) && !kit::bringUp(device->get())) return device->get();
    const bool isOnBridge = bridgeId != 0;  // bridge 0 is the gateway's
    if (!hadBridge && wasLost && isOnBridge &&
        (!isOnSharedBridge(bridgeId) || kit::addBridgePort(kSharedBridge, vlan.get()) != 0))
        return std::string(vlan.get()) + " on the bridge that it was on";
    if (hadBridge && isOnBridge && !isMember(bridgeId, vlan)) return std::string(vlan.get()) + " on its bridge";
    for (const auto& [number, port] : services().tables().uniPorts)
        if (port.bridges.count(bridgeId) != 0 && !createFlows(static_cast<std::uint16_t>(number + 1), bridgeId))
            return std::string("flows of ") + vlan.get();
    if (leadsToGateway && !createVeipFlows(engine, bridgeId)) return std::string("flows of ") + vlan.get();
    return "";
}

// ---- of a bridge ----

BridgeToMake::BridgeToMake(EtherSwitchBcm380& engine, std::uint16_t bridgeId, std::uint16_t uniPort)
    : engine_(engine),
      bridgeId_(bridgeId),
      uniPort_(uniPort),
      isNew_(isGone(kit::bridgeName(bridgeId))),
      isNewPair_(isGone(kit::aniVlanName(bridgeId, bridgeId))),
      isNewPort_(uniPort != 0 && isGone(uniVlanDevice(uniPort, bridgeId))) {}

bool BridgeToMake::make() {
    return engine_.configureBridge(bridgeId_, uniPort_, false) &&
           (!isNew_ || kit::bringUp(kit::bridgeName(bridgeId_).get())) && (!isNewPair_ || isPairInForce()) &&
           (!isNewPort_ || isPortInForce()) && addPorts();
}

bool BridgeToMake::isPairInForce() {
    const DeviceName vlan = kit::aniVlanName(bridgeId_, bridgeId_);
    return isInForce(kit::aniName(bridgeId_), vlan) && (bridgeId_ == 0 || isMember(bridgeId_, vlan));
}

bool BridgeToMake::isPortInForce() {
    const DeviceName vlan = uniVlanDevice(uniPort_, bridgeId_);
    return isInForce(kit::uniName(uniPort_ - 1U), vlan) && isMember(bridgeId_, vlan);
}

void BridgeToMake::undo() {
    if (isNewPort_) removeUniDevice(engine_, uniPort_, bridgeId_);
    if (isNewPair_) removeAniPair(engine_, bridgeId_);
    if (isNew_ && bridgeId_ != 0) engine_.deleteBridgeInterface(bridgeId_);
}

bool BridgeToMake::addPorts() {
    if (!isNew_) return true;
    for (const auto& [number, port] : services().tables().uniPorts) {
        const auto uniPort = static_cast<std::uint16_t>(number + 1);
        const DeviceName device = uniVlanDevice(uniPort, bridgeId_);
        if (port.bridges.count(bridgeId_) == 0 || isGone(device)) continue;
        if (!isMember(bridgeId_, device) || !createFlows(uniPort, bridgeId_)) return false;
    }
    return true;
}

}  // namespace forwarding
