#include "BRCM/BCM968580/DATA/forwarding/Operations.h"

#include <cerrno>
#include <cstdio>
#include <string>
#include <vector>

#include "BRCM/BCM968580/DATA/EngineMaps.h"
#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "hal/Text.h"
#include "kit/DeviceNames.h"
#include "kit/Devices.h"
#include "kit/GemPorts.h"
#include "kit/StateEntries.h"

namespace forwarding {

namespace {

std::optional<std::uint16_t> gemIndexOf(std::uint16_t gemPortId) {
    const kit::GemPortAnswer answer = kit::gemPortById(gemPortId);
    if (!answer.known()) return std::nullopt;
    return static_cast<std::uint16_t>(answer.port.gemIndex);
}

bool isDone(const char* operation, const g988::Outcome& outcome) {
    if (!outcome.done) std::printf("%s: nothing is changed: %s\n", operation, outcome.reason.c_str());
    return outcome.done;
}

// ---- devices of a UNI ----

DeviceName uniVlanDevice(std::uint16_t uniPort, std::uint16_t bridgeId) {
    return kit::uniVlanName(uniPort - 1U, bridgeId);
}

void removeUniDevice(EtherSwitchBcm380& engine, std::uint16_t uniPort, std::uint16_t bridgeId) {
    if (!engine.isInterfaceExisted(uniVlanDevice(uniPort, bridgeId).get())) return;
    const kit::BegunStep step(kit::Step::RemoveUni, uniPort, bridgeId);
    engine.removeUniInterfaceFromBridgeGroup(bridgeId, uniPort);
    engine.deleteUniInterface(bridgeId, uniPort);
    const auto association = m_BridgeIdToUniId.find(bridgeId);
    if (association != m_BridgeIdToUniId.end() && association->second == uniPort) engine_maps::dissociateUni(bridgeId);
}

// What there is of the pair: the first device may be alone.
void removeAniPair(EtherSwitchBcm380& engine, std::uint16_t bridgeId) {
    DeviceName ani = kit::aniName(bridgeId);
    DeviceName vlan = kit::aniVlanName(bridgeId, bridgeId);
    if (!engine.isInterfaceExisted(ani.get())) return;
    const kit::BegunStep step(kit::Step::DeleteAniPair, bridgeId);
    if (engine.isInterfaceExisted(vlan.get())) engine.removeAniInterfaceFromBridgeGroup(bridgeId);
    engine.deleteAniVlanInterface(ani.get(), vlan.get());
}

// The engine does not answer whether the kernel has taken the device. Asked for again, a member is refused as busy.
bool isMember(std::uint16_t bridgeId, const DeviceName& device) {
    const int result = kit::joinBridge(kit::bridgeName(bridgeId).get(), device.get());
    return result == 0 || result == EBUSY;
}

bool joinFlows(std::uint16_t uniPort, std::uint16_t bridgeId) {
    const DeviceName uni = uniVlanDevice(uniPort, bridgeId);
    const DeviceName ani = kit::aniVlanName(bridgeId, bridgeId);
    return kit::createVlanFlows(ani.get(), uni.get()) && kit::createVlanFlows(uni.get(), ani.get());
}

// Multicast reaches the gateway past the bridge.
void joinVeipFlows(EtherSwitchBcm380& engine, std::uint16_t bridgeId) {
    DeviceName veip;
    DeviceName ani = kit::aniVlanName(bridgeId, bridgeId);
    engine.getVeipVlanName(veip.get());
    engine.createVlanFlows(ani.get(), veip.get());
    engine.createVlanFlows(veip.get(), ani.get());
}

bool hasMulticast(const g988::PonSide& side, std::uint16_t gemPortId) {
    for (std::size_t i = 0; i < side.ports.size(); ++i)
        if (!side.ports[i].downstreamGems.empty() && side.keys[i].gemPortIds.count(gemPortId) != 0) return true;
    return false;
}

// ---- what others of the engine look at ----

// The gateway is told of GEM ports by their indexes.
void rememberGemPorts(const BridgeServiceProvisioning& record) {
    for (const std::uint16_t gemPortId : g988::gemPortIds(record)) {
        const auto index = gemIndexOf(gemPortId);
        if (!index) continue;
        tGemPortMap[gemPortId] = *index;
        kit::noteChange(kit::Entry::ServiceGem, gemPortId);
    }
}

// The link monitor looks after the multicast proxy while there is a multicast service.
void countMulticast() {
    const auto now = static_cast<std::int32_t>(services().multicastPorts());
    if (now != EtherSwitchBcm380::multicastEnable)
        engine_maps::countMulticastServices(now - EtherSwitchBcm380::multicastEnable);
}

}  // namespace

g988::Services& services() {
    static auto& all = *new g988::Services(gemIndexOf);
    return all;
}

bool setUni(EtherSwitchBcm380& engine, const UniDataProvisioning& record) {
    constexpr const char* kOperation = "filter_flow_add";
    if (g988::deletesRow(record)) return isDone(kOperation, services().setUni(record));
    bool madeDevice = false;
    const auto prepare = [&]() -> std::string {
        const state::Operation operation;
        const DeviceName device = uniVlanDevice(record.uniPort, record.bridgeId);
        const bool wasThere = engine.isInterfaceExisted(device.get());
        const bool isThere = engine.configureUniInterface(&record);
        madeDevice = !wasThere && (isThere || engine.isInterfaceExisted(device.get()));
        if (!isThere) return std::string(device.get()) + " cannot be made, or its bridge does not exist";
        if (!madeDevice) return "";
        if (!isMember(record.bridgeId, device)) return std::string(device.get()) + " cannot join its bridge";
        if (!joinFlows(record.uniPort, record.bridgeId)) return std::string(device.get()) + " gets no flows";
        return "";
    };
    if (isDone(kOperation, services().setUni(record, prepare))) return true;
    const state::Operation operation;
    if (madeDevice) removeUniDevice(engine, record.uniPort, record.bridgeId);
    return false;
}

bool removeUni(EtherSwitchBcm380& engine, std::uint16_t uniPort, std::uint16_t bridgeId) {
    if (!isDone("filter_flow_add", services().removeUni(uniPort, bridgeId))) return false;
    const state::Operation operation;
    removeUniDevice(engine, uniPort, bridgeId);
    return true;
}

bool configureBridge(EtherSwitchBcm380& engine, std::uint16_t bridgeId, std::uint16_t uniPort) {
    const state::Operation operation;
    const DeviceName bridge = kit::bridgeName(bridgeId);
    const bool isNew = !engine.isInterfaceExisted(bridge.get());
    const bool isNewPair = !engine.isInterfaceExisted(kit::aniVlanName(bridgeId, bridgeId).get());
    const bool isNewPort = uniPort != 0 && !engine.isInterfaceExisted(uniVlanDevice(uniPort, bridgeId).get());
    const bool isThere = engine.configureBridge(bridgeId, uniPort, false) &&
                         (!isNewPair || isMember(bridgeId, kit::aniVlanName(bridgeId, bridgeId))) &&
                         (!isNewPort || isMember(bridgeId, uniVlanDevice(uniPort, bridgeId)));
    if (!isThere) {
        if (isNewPort) removeUniDevice(engine, uniPort, bridgeId);
        if (isNewPair) removeAniPair(engine, bridgeId);
        if (isNew && bridgeId != 0) engine.deleteBridgeInterface(bridgeId);
        return isDone("configureBridge", {false, std::string(bridge.get()) + " or a device on it cannot be made"});
    }
    if (!isNew) return true;
    for (const auto& [number, port] : services().tables().uniPorts)
        if (port.bridges.count(bridgeId) != 0)
            engine.addInterfaceToBridgeGroup(bridge.get(), kit::uniVlanName(number, bridgeId).get());
    return true;
}

bool setPonPort(EtherSwitchBcm380& engine, const BridgeServiceProvisioning& record) {
    const bool isMulticast = g988::isMulticast(record);
    const auto prepare = [&]() -> std::string {
        const state::Operation operation;
        if (isMulticast && !engine.configureBridge(record.bridgeId, 0, false))
            return std::string(kit::bridgeName(record.bridgeId).get()) + " cannot be made";
        return "";
    };
    if (!isDone("configureAniTagRules", services().setPonPort(record, prepare))) return false;
    const state::Operation operation;
    rememberGemPorts(record);
    countMulticast();
    if (isMulticast) {
        engine.setMcastGemInfo(record.gemPortId, tGemPortMap[record.gemPortId]);
        if (services().gatewayGems().count(record.gemPortId) != 0) joinVeipFlows(engine, record.bridgeId);
    }
    return true;
}

bool removePonPorts(const BridgeServiceProvisioning& record) {
    if (!isDone("unsetPbitData", services().removePonPorts(record))) return false;
    const state::Operation operation;
    countMulticast();
    return true;
}

void addVeipGemPort(EtherSwitchBcm380& engine, std::uint16_t gemPortId) {
    if (!services().addGatewayGem(gemPortId)) return;
    for (const auto& bridge : services().tables().bridges) {
        const auto side = services().ponSide(bridge.first);
        if (side && hasMulticast(*side, gemPortId)) joinVeipFlows(engine, bridge.first);
    }
}

bool removeVeipGemPort(std::uint16_t bridgeId, std::uint16_t gemPortId) {
    services().removeGatewayGem(gemPortId);
    BridgeServiceProvisioning record{};
    record.bridgeId = bridgeId;
    record.pbitMap[0] = {gemPortId, 0};
    return isDone("veip_deleteRules", services().removePonPorts(record));
}

bool removePonSide(EtherSwitchBcm380& engine, const BridgeServiceProvisioning& record) {
    const auto outcome =
        g988::isMulticast(record) ? services().removePonPorts(record) : services().removePonSide(record.bridgeId);
    if (!isDone("deprovisionAniSideBridge", outcome)) return false;
    const state::Operation operation;
    engine.deprovisionAniSideBridge(&record);
    countMulticast();
    return true;
}

bool removeUniSide(EtherSwitchBcm380& engine, std::uint16_t bridgeId) {
    std::vector<std::uint16_t> uniPorts = {1, 2, 3, 4};  // one that configureBridge has made is in no table
    const auto association = m_BridgeIdToUniId.find(bridgeId);
    if (association != m_BridgeIdToUniId.end() && association->second > uniPorts.back())
        uniPorts.push_back(static_cast<std::uint16_t>(association->second));
    if (!isDone("deprovisionUniSideBridge", services().removeUniSide(bridgeId))) return false;
    const state::Operation operation;
    for (const std::uint16_t uniPort : uniPorts) removeUniDevice(engine, uniPort, bridgeId);
    return true;
}

g988::Outcome settle() {
    const state::Operation operation;
    const g988::Outcome outcome = services().settle();
    countMulticast();
    return outcome;
}

}  // namespace forwarding
