#include "BRCM/BCM968580/DATA/forwarding/Veip.h"

#include <unistd.h>

#include <string>

#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/DATA/forwarding/Devices.h"
#include "BRCM/BCM968580/DATA/forwarding/PassRules.h"
#include "BRCM/BCM968580/DATA/forwarding/Rollback.h"
#include "kit/Asked.h"
#include "kit/Devices.h"
#include "kit/Rules.h"

namespace forwarding {

namespace {

constexpr std::uint16_t kPhyId = 0;      // second half of the rule map's key
constexpr std::uint32_t kTagTables = 4;  // the VEIP passes frames with up to three tags

bool insertRules(EtherSwitchBcm380& engine) {
    return insertPassRules(engine, {kVeipRealDevice, kVeipDevice, kPhyId, kTagTables});
}

constexpr const char* kFlowRefused = "a flow to the VEIP is refused";

bool makesVeip(std::uint16_t trafficType) {
    return trafficType == OMCI_MF_MODEL_1_FILTER || trafficType == OMCI_MF_MODEL_1_MAP_FILTER ||
           trafficType == OMCI_MF_MODEL_N_FILTER || trafficType == OMCI_MF_MODEL_N_MAP_FILTER;
}

// ---- the device ----

bool makeDevice(EtherSwitchBcm380& engine) {
    bool isComplete = false;
    if (!kit::createVeipDevice(&isComplete) || !isComplete) return false;
    engine.disableIPv6(kVeipDevice);
    return kit::bringVeipUp(kit::MissingAddress::Fails);
}

bool removeDevice() {
    {
        const kit::VlanCtlSession session;
        if (kit::removeDevice(kVeipDevice) == 0) return true;
    }
    return isGone(DeviceName("%s", kVeipDevice));
}

// What is left of a VEIP that was to be made.
void removeNewDevice(Rollback& rollback) {
    const bool rulesGone = removeRecordedRules(kVeipRealDevice, kPhyId);
    const bool isAway = isGone(DeviceName("%s", kVeipDevice)) || removeDevice();
    if (!rulesGone || !isAway) rollback.stays(kVeipDevice);
}

// A flow that no rule uses carries nothing; the kit cannot take one away alone.
bool bringMulticast(EtherSwitchBcm380& engine, std::uint16_t gemPortId) {
    bool done = true;
    for (const auto& bridge : services().tables().bridges)
        if (hasMulticast(bridge.first, gemPortId)) done = createVeipFlows(engine, bridge.first) && done;
    return done;
}

// Only a VEIP that was not there takes the place of a bridge.
std::string makeVeip(EtherSwitchBcm380& engine, const VeipService& service) {
    if (!engine.isInterfaceExisted(kVeipRealDevice))
        return std::string(kVeipRealDevice) + " does not exist, which " + kVeipDevice + " needs";
    if (!makeDevice(engine)) return std::string(kVeipDevice) + " cannot be made";
    if (!insertRules(engine)) return std::string("a rule of ") + kVeipDevice + " is refused";
    return bringMulticast(engine, service.gemPortId) ? "" : kFlowRefused;
}

// The last thing, so that there is nothing to make again. The kernel takes a bridge down before it may refuse.
std::string takePlaceOf(std::uint16_t bridgeId) {
    const DeviceName bridge = kit::bridgeName(bridgeId);
    if (isGone(bridge)) return "";
    {
        const kit::Replacement replacement;
        const kit::BegunStep step(kit::Step::ReplaceBridge, bridgeId);
        if (kit::deleteBridge(bridge.get()) == InterfaceResult::Done) return "";
    }
    kit::bringUp(bridge.get());
    return std::string(bridge.get()) + " cannot be removed";
}

// False: it is all there again, or `rollback` says what is not.
bool removeWholeVeip(EtherSwitchBcm380& engine, Rollback& rollback) {
    engine.removeVeipInterface();  // the devices on it, which the gateway has made
    sleep(1);
    const bool rulesGone = removeRecordedRules(kVeipRealDevice, kPhyId);
    if (rulesGone && removeDevice()) return true;
    if (!insertRules(engine)) rollback.cannotRestore(std::string("rules of ") + kVeipDevice);
    return false;
}

int announce(EtherSwitchBcm380& engine, bool comes, const VeipService& service) {
    return engine.configVeip(comes, service.gemPortId, service.bridgeId, service.filterType, service.entries,
                             service.list);
}

}  // namespace

bool addVeip(EtherSwitchBcm380& engine, const VeipService& service) {
    constexpr const char* kOperation = "veip_createRules";
    const state::Operation operation;
    const bool isThere = engine.isInterfaceExisted(kVeipDevice);
    if (!isThere && !isGone(DeviceName("%s", kVeipDevice)))
        return isDone(kOperation, {false, std::string("the kernel does not say whether there is ") + kVeipDevice});
    const bool isNew = !isThere && makesVeip(service.trafficType);
    std::string problem;
    if (isNew) problem = makeVeip(engine, service);
    if (isNew && problem.empty()) problem = takePlaceOf(service.bridgeId);
    if (isThere && !bringMulticast(engine, service.gemPortId)) problem = kFlowRefused;
    if (!problem.empty()) {
        Rollback rollback(problem);
        if (isNew) removeNewDevice(rollback);
        return rollback.report(kOperation);
    }
    services().addGatewayGem(service.gemPortId);
    kit::noteNeed(kit::Entry::Devices, kVeipDevice);
    announce(engine, true, service);
    return true;
}

bool claimVeip(EtherSwitchBcm380& engine, const VeipService& service, bool isFirst) {
    constexpr const char* kOperation = "veip_createRules";
    if (isFirst && !isGone(DeviceName("%s", kVeipDevice))) {
        const std::string problem = takePlaceOf(service.bridgeId);
        if (!problem.empty()) return isDone(kOperation, {false, problem});
    }
    return !services().addGatewayGem(service.gemPortId) || bringMulticast(engine, service.gemPortId) ||
           isDone(kOperation, {false, kFlowRefused});
}

bool removeVeip(EtherSwitchBcm380& engine, const VeipService& service) {
    constexpr const char* kOperation = "veip_deleteRules";
    const state::Operation operation;
    g988::Services::Before before;
    if (!isDone(kOperation, services().removeGemPort(service.bridgeId, service.gemPortId, &before))) return false;
    services().removeGatewayGem(service.gemPortId);
    if (isGone(DeviceName("%s", kVeipDevice))) return true;
    const int servicesBefore = engine.omci_service_num_get();
    const int left = announce(engine, false, service);
    if (left != 0) return true;
    const kit::BegunStep step(kit::Step::RemoveVeip, service.bridgeId, service.gemPortId);
    Rollback rollback(std::string(kVeipDevice) + " cannot be removed");
    if (removeWholeVeip(engine, rollback)) return true;
    if (servicesBefore != left) announce(engine, true, service);
    return rollback.restore(kOperation, before);
}

}  // namespace forwarding
