#include "BRCM/BCM968580/DATA/forwarding/Operations.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "BRCM/BCM968580/DATA/EngineMaps.h"
#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/DATA/forwarding/Rollback.h"
#include "hal/Text.h"
#include "kit/DeviceNames.h"
#include "kit/Devices.h"
#include "kit/GemPorts.h"
#include "kit/StateEntries.h"

namespace forwarding {

namespace {

constexpr const char* kStays = " cannot be removed";

std::optional<std::uint16_t> gemIndexOf(std::uint16_t gemPortId) {
    const kit::GemPortAnswer answer = kit::gemPortById(gemPortId);
    if (!answer.known()) return std::nullopt;
    return static_cast<std::uint16_t>(answer.port.gemIndex);
}

// ---- what others of the engine look at ----

// Whether multicast of the bridge is for the gateway too.
bool leadsToGateway(std::uint16_t bridgeId) {
    const auto& gems = services().gatewayGems();
    return std::any_of(gems.begin(), gems.end(), [&](std::uint16_t gem) { return hasMulticast(bridgeId, gem); });
}

// The gateway knows GEM ports by their indexes.
void rememberGemPorts(const BridgeServiceProvisioning& record) {
    for (const std::uint16_t gemPortId : g988::gemPortIds(record)) {
        if (const auto index = gemIndexOf(gemPortId)) engine_maps::setGemIndex(gemPortId, *index);
    }
}

// The link monitor looks after the multicast proxy while there is a multicast service.
void countMulticast() {
    const auto now = static_cast<std::int32_t>(services().multicastPorts());
    if (now != EtherSwitchBcm380::multicastEnable)
        engine_maps::countMulticastServices(now - EtherSwitchBcm380::multicastEnable);
}

// Devices of UNI ports whose rules have gone: all that are there, or none.
bool removeUniDevices(EtherSwitchBcm380& engine, const char* operation, const std::vector<std::uint16_t>& uniPorts,
                      std::uint16_t bridgeId, const g988::Services::Before& before) {
    std::vector<std::uint16_t> touched;
    for (const std::uint16_t uniPort : uniPorts) {
        if (isGone(uniVlanDevice(uniPort, bridgeId))) {
            dissociateUni(uniPort, bridgeId);  // a removal that the process before has not finished
            continue;
        }
        touched.push_back(uniPort);
        if (removeUniDevice(engine, uniPort, bridgeId)) continue;
        Rollback rollback(std::string(uniVlanDevice(uniPort, bridgeId).get()) + kStays);
        for (const std::uint16_t one : touched)
            if (!restoreUniDevice(engine, one, bridgeId, before.tables()))
                rollback.cannotRestore(uniVlanDevice(one, bridgeId).get());
        return rollback.restore(operation, before);
    }
    return true;
}

}  // namespace

g988::Services& services() {
    static auto& all = *new g988::Services(gemIndexOf);
    return all;
}

bool hasMulticast(std::uint16_t bridgeId, std::uint16_t gemPortId) {
    const auto side = services().ponSide(bridgeId);
    if (!side) return false;
    for (std::size_t i = 0; i < side->ports.size(); ++i)
        if (!side->ports[i].downstreamGems.empty() && side->keys[i].gemPortIds.count(gemPortId) != 0) return true;
    return false;
}

bool setUni(EtherSwitchBcm380& engine, const UniDataProvisioning& record) {
    constexpr const char* kOperation = "filter_flow_add";
    if (g988::deletesRow(record)) return isDone(kOperation, services().setUni(record));
    const state::Operation operation;
    bool madeDevice = false;
    const auto prepare = [&]() -> std::string {
        const DeviceName device = uniVlanDevice(record.uniPort, record.bridgeId);
        const bool wasThere = engine.isInterfaceExisted(device.get());
        const bool isThere = engine.configureUniInterface(&record);
        madeDevice = !wasThere && (isThere || engine.isInterfaceExisted(device.get()));
        if (!isThere) return std::string(device.get()) + " cannot be made, or its bridge does not exist";
        if (!madeDevice) return "";
        if (!isInForce(kit::uniName(record.uniPort - 1U), device))
            return std::string(device.get()) + " or its port cannot be brought up";
        if (!isMember(record.bridgeId, device)) return std::string(device.get()) + " cannot join its bridge";
        if (!createFlows(record.uniPort, record.bridgeId)) return std::string(device.get()) + " gets no flows";
        return "";
    };
    if (isDone(kOperation, services().setUni(record, prepare))) return true;
    if (madeDevice) removeUniDevice(engine, record.uniPort, record.bridgeId);
    return false;
}

bool removeUni(EtherSwitchBcm380& engine, std::uint16_t uniPort, std::uint16_t bridgeId) {
    constexpr const char* kOperation = "filter_flow_add";
    g988::Services::Before before;
    return isDone(kOperation, services().removeUni(uniPort, bridgeId, &before)) &&
           removeUniDevices(engine, kOperation, {uniPort}, bridgeId, before);
}

bool configureBridge(EtherSwitchBcm380& engine, std::uint16_t bridgeId, std::uint16_t uniPort) {
    BridgeToMake bridge(engine, bridgeId, uniPort);
    if (bridge.make()) return true;
    bridge.undo();
    const std::string name(kit::bridgeName(bridgeId).get());
    return isDone("configureBridge", {false, name + " or a device on it cannot be made"});
}

bool setPonPort(EtherSwitchBcm380& engine, const BridgeServiceProvisioning& record) {
    const bool isMulticast = g988::isMulticast(record);
    const state::Operation operation;
    std::optional<BridgeToMake> bridge;
    const auto prepare = [&]() -> std::string {
        if (!isMulticast) return "";
        bridge.emplace(engine, record.bridgeId, std::uint16_t{0});
        const std::string name(kit::bridgeName(record.bridgeId).get());
        if (!bridge->make()) return name + " or a device on it cannot be made";
        // A flow that no rule uses carries nothing; the kit cannot take one away alone.
        const bool isForGateway = services().gatewayGems().count(record.gemPortId) != 0;
        return isForGateway && !createVeipFlows(engine, record.bridgeId) ? name + " gets no flows to the gateway" : "";
    };
    if (!isDone("configureAniTagRules", services().setPonPort(record, prepare))) {
        if (bridge) bridge->undo();
        return false;
    }
    rememberGemPorts(record);
    countMulticast();
    if (isMulticast) engine.setMcastGemInfo(record.gemPortId, tGemPortMap[record.gemPortId]);
    return true;
}

bool removePonPorts(const BridgeServiceProvisioning& record) {
    if (!isDone("unsetPbitData", services().removePonPorts(record))) return false;
    countMulticast();
    return true;
}

bool removePonSide(EtherSwitchBcm380& engine, const BridgeServiceProvisioning& record) {
    constexpr const char* kOperation = "deprovisionAniSideBridge";
    g988::Services::Before before;
    const bool isMulticast = g988::isMulticast(record), isForGateway = leadsToGateway(record.bridgeId);
    const bool hadBridge = !isGone(kit::bridgeName(record.bridgeId));
    const auto outcome =
        isMulticast ? services().removePonPorts(record, &before) : services().removePonSide(record.bridgeId, &before);
    if (!isDone(kOperation, outcome)) return false;
    const std::string stays = removePonDevices(engine, record);
    bool done = true;
    if (!isMulticast && !stays.empty()) {
        Rollback rollback(stays + kStays);
        rollback.cannotRestore(restorePonDevices(engine, record.bridgeId, hadBridge, isForGateway));
        done = rollback.restore(kOperation, before);
    }
    countMulticast();
    return done;
}

bool removeUniSide(EtherSwitchBcm380& engine, std::uint16_t bridgeId) {
    constexpr const char* kOperation = "deprovisionUniSideBridge";
    std::vector<std::uint16_t> uniPorts = {1, 2, 3, 4};  // one that configureBridge has made is in no table
    const auto association = m_BridgeIdToUniId.find(bridgeId);
    if (association != m_BridgeIdToUniId.end() && association->second > uniPorts.back())
        uniPorts.push_back(static_cast<std::uint16_t>(association->second));
    g988::Services::Before before;
    return isDone(kOperation, services().removeUniSide(bridgeId, &before)) &&
           removeUniDevices(engine, kOperation, uniPorts, bridgeId, before);
}

g988::Outcome settle() {
    const state::Operation operation;
    const g988::Outcome outcome = services().settle();
    countMulticast();
    return outcome;
}

}  // namespace forwarding
