#include "BRCM/BCM968580/DATA/restart/Unfinished.h"

#include <algorithm>
#include <optional>
#include <string>

#include "BRCM/BCM968580/DATA/EngineMaps.h"
#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/DATA/gateway/ServiceMap.h"
#include "BRCM/BCM968580/DATA/restart/DeviceEntries.h"
#include "BRCM/BCM968580/DATA/restart/Forwarding.h"
#include "BRCM/BCM968580/DATA/restart/Operations.h"
#include "BRCM/BCM968580/DATA/restart/Restart.h"
#include "BRCM/BCM968580/DATA/restart/RestartLog.h"
#include "BRCM/BCM968580/DATA/restart/RuleTables.h"
#include "hal/Text.h"
#include "kit/DeviceNames.h"
#include "kit/Devices.h"
#include "kit/Rules.h"
#include "kit/StateEntries.h"
#include "xpon/UnfinishedPon.h"

using kit::Step;
using state::ByteReader;

namespace restart {

namespace {

constexpr std::uint16_t kVeipPhyId = 0;

void freeRules(const std::string& device, std::uint16_t phyId) {
    const auto entry = m_VLAN_RULE_MAP_ENTRY.find({device, phyId});
    if (entry != m_VLAN_RULE_MAP_ENTRY.end()) engine().freeVlanRuleMapEntry(entry->second.get());
}

// The last table first. Of a rule that vlanctl has refused nothing is to take back.
void takeBackRules(ByteReader& fields, const std::vector<std::uint32_t>& ids, std::uint32_t highestId) {
    const std::string device = fields.text();
    const std::uint8_t direction = fields.u8();
    const std::uint8_t firstTags = fields.u8();
    std::vector<std::uint32_t> before(fields.left() / sizeof(std::uint32_t));
    for (std::uint32_t& rules : before) rules = fields.u32();
    for (std::size_t i = before.size(); i-- > 0;) {
        std::optional<std::uint32_t> id;
        if (i < ids.size()) id = ids[i];
        if (id == VLANCTL_DONT_CARE) continue;
        takeBackRule({device, direction, static_cast<std::uint32_t>(firstTags + i)}, before[i], id, highestId);
    }
}

void removeCreatedDevice(const std::string& device) {
    if (!engine().isInterfaceExisted(device.c_str())) return;
    report(LogText("%s was being made: taken away", device.c_str()));
    const kit::VlanCtlSession session;
    kit::removeDevice(device.c_str());
}

void deleteCreatedBridge(const std::string& bridge) {
    if (!engine().isInterfaceExisted(bridge.c_str())) return;
    report(LogText("%s was being made: taken away", bridge.c_str()));
    kit::deleteBridge(bridge.c_str());
}

// What an interrupted removal has left of the pair.
void deleteAniPair(std::uint16_t bridgeId) {
    DeviceName ani = kit::aniName(bridgeId);
    DeviceName vlan = kit::aniVlanName(bridgeId, bridgeId);
    engine().deleteAniVlanInterface(ani.get(), vlan.get());
}

void deleteBridge(std::uint16_t bridgeId) {
    if (engine().isInterfaceExisted(kit::bridgeName(bridgeId).get())) engine().deleteBridgeInterface(bridgeId);
}

// With its ports, which the file still has.
void giveBridgeBack(std::uint16_t bridgeId) {
    const DeviceName bridge = kit::bridgeName(bridgeId);
    if (engine().isInterfaceExisted(bridge.get()))
        kit::bringUp(bridge.get());  // it goes down first
    else
        kit::createBridge(bridge.get());
    for (const Member& member : knownMembers())
        if (member.bridge == bridge.get()) kit::addBridgePort(bridge.get(), member.device.c_str());
}

// Without the runner's part, which comes before the step, and without the association of bridge and UNI: the operation
// needs it when it comes again.
void removeUni(std::uint16_t uniPort, std::uint16_t bridgeId) {
    freeRules(kit::uniName(uniPort - 1U).get(), uniPort);
    engine_maps::clearModelMarks(uniPort);
    engine().removeUniInterfaceFromBridgeGroup(bridgeId, uniPort);
    engine().deleteUniInterface(bridgeId, uniPort);
}

// The last service is gone: so are the others of the map.
void removeVeip(std::uint16_t bridgeId, std::uint16_t gemPortId) {
    forgetServices();
    freeRules(kVeipRealDevice, kVeipPhyId);
    engine().removeVeipInterface();  // the devices on it, which the gateway may still hold for a while
    if (engine().isInterfaceExisted(kVeipDevice)) {
        const kit::VlanCtlSession session;
        kit::removeDevice(kVeipDevice);
    }
    engine().flushAniSideVlanRules(bridgeId, gemPortId);
    forgetGatewayService(bridgeId, gemPortId);
}

void leaveDhcpClient(std::uint16_t bridgeId, std::uint16_t uniPort) {
    kit::noteMark(true, kit::Entry::DhcpClients, bridgeId, uniPort);
}

void settle(const state::UnfinishedStep& unfinished, std::uint32_t highestId) {
    ByteReader fields(unfinished.step);
    switch (static_cast<Step>(fields.u8())) {
        case Step::InsertRules:
            takeBackRules(fields, unfinished.results, highestId);
            break;
        case Step::FreeRules: {
            const std::string device = fields.text();
            freeRules(device, fields.u16());
            break;
        }
        case Step::WholeOperation:
            break;  // run again when all of its steps are settled
        case Step::CreateBridge:
            deleteCreatedBridge(fields.text());
            break;
        case Step::CreateDevice:
            removeCreatedDevice(fields.text());
            break;
        case Step::DeleteAniPair:
            deleteAniPair(fields.u16());
            break;
        case Step::DeleteBridge:
            deleteBridge(fields.u16());
            break;
        case Step::BindTcont: {
            const std::uint16_t allocId = fields.u16();
            unbindTcont(allocId, fields.u16());
            break;
        }
        case Step::ResetTcont:
            finishTcontReset(fields.u16());
            break;
        case Step::CreateGemPort:
            removeNewGemPort(fields.u16());
            break;
        case Step::RemoveGemPort:
            finishGemPortRemoval(fields.u16());
            break;
        case Step::RaisePonDevice:
            lowerPonDevice();
            break;
        case Step::RemoveUni: {
            const std::uint16_t uniPort = fields.u16();
            removeUni(uniPort, fields.u16());
            break;
        }
        case Step::RemoveVeip: {
            const std::uint16_t bridgeId = fields.u16();
            removeVeip(bridgeId, fields.u16());
            break;
        }
        case Step::StartDhcp: {
            const std::uint16_t bridgeId = fields.u16();
            leaveDhcpClient(bridgeId, fields.u16());
            break;
        }
        case Step::RemoveRule:
            finishRuleRemoval(fields);
            break;
        case Step::ReplaceBridge:
            giveBridgeBack(fields.u16());
            break;
        case Step::RemoveHost: {
            const std::uint16_t bridgeId = fields.u16();
            finishHostRemoval(bridgeId, fields.u16());
            break;
        }
    }
}

}  // namespace

bool isStep(const state::UnfinishedStep& step) {
    ByteReader fields(step.step);
    switch (static_cast<Step>(fields.u8())) {
        case Step::InsertRules:
            if (!kit::isPlainDeviceName(fields.text())) return false;
            fields.raw(2);
            if (fields.left() == 0 || fields.left() > kit::kMaxTablesOfRule * sizeof(std::uint32_t)) return false;
            while (fields.left() > 0) fields.u32();
            break;
        case Step::FreeRules:
            if (!kit::isPlainDeviceName(fields.text())) return false;
            fields.u16();
            break;
        case Step::WholeOperation:
            return isOperation(fields);
        case Step::CreateBridge:
            if (!kit::isBridge(fields.text())) return false;
            break;
        case Step::CreateDevice:
            if (!kit::isCreatedDevice(fields.text())) return false;
            break;
        case Step::RaisePonDevice:
            break;
        case Step::RemoveRule:
            if (!kit::isPlainDeviceName(fields.text())) return false;
            fields.raw(2);
            fields.u32();
            break;
        case Step::DeleteAniPair:
        case Step::DeleteBridge:
        case Step::ReplaceBridge:
        case Step::ResetTcont:
        case Step::CreateGemPort:
        case Step::RemoveGemPort:
            fields.u16();
            break;
        case Step::BindTcont:
        case Step::RemoveUni:
        case Step::RemoveVeip:
        case Step::StartDhcp:
        case Step::RemoveHost:
            fields.raw(4);
            break;
        default:
            return false;
    }
    return fields.done();
}

std::string wholeOperationOf(const std::vector<state::UnfinishedStep>& steps) {
    for (const state::UnfinishedStep& step : steps)
        if (step.step[0] == static_cast<char>(Step::WholeOperation)) return step.step.substr(1);
    return {};
}

void settleUnfinished(const std::vector<state::UnfinishedStep>& steps) {
    if (steps.empty()) return;
    report(LogText("the last operation was not finished: %d steps are taken back or finished",
                   static_cast<int>(steps.size())));
    std::uint32_t highestId = highestKnownRuleId();
    for (const state::UnfinishedStep& step : steps)
        for (const std::uint32_t id : step.results)
            if (id != VLANCTL_DONT_CARE) highestId = std::max(highestId, id);
    std::for_each(steps.rbegin(), steps.rend(), [&](const auto& step) { settle(step, highestId); });
}

}  // namespace restart
