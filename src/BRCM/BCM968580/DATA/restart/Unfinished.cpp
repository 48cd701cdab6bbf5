#include "BRCM/BCM968580/DATA/restart/Unfinished.h"

#include <algorithm>
#include <optional>
#include <string>

#include "BRCM/BCM968580/DATA/EngineNames.h"
#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/DATA/TagRule.h"
#include "BRCM/BCM968580/DATA/gateway/ServiceMap.h"
#include "BRCM/BCM968580/DATA/restart/DeviceNames.h"
#include "BRCM/BCM968580/DATA/restart/RestartLog.h"
#include "BRCM/BCM968580/DATA/restart/RuleTables.h"
#include "bridge/BridgeControl.h"
#include "hal/Text.h"
#include "platform/vlanctl.h"
#include "state/Facts.h"
#include "xpon/UnfinishedPon.h"

using state::ByteReader;
using state::Step;

namespace restart {

namespace {

constexpr std::size_t kMostTables = 4;  // of one step
constexpr std::uint16_t kVeipPhyId = 0;

EtherSwitchBcm380& engine() {
    return *EtherSwitchBcm380::getInstance();
}

VlanTagFilter_t filterFrom(ByteReader& bytes) {
    VlanTagFilter_t filter{};
    filter.prio = bytes.u8();
    filter.vlanId = bytes.u16();
    filter.tpid_de = bytes.u32();
    return filter;
}

void freeRules(const std::string& device, std::uint16_t phyId) {
    const auto entry = m_VLAN_RULE_MAP_ENTRY.find({device, phyId});
    if (entry != m_VLAN_RULE_MAP_ENTRY.end()) engine().freeVlanRuleMapEntry(entry->second.get());
}

void removeRow(ByteReader& fields) {
    const std::string device = fields.text();
    const std::uint16_t phyId = fields.u16();
    const VlanTagFilter_t outer = filterFrom(fields);
    const VlanTagFilter_t inner = filterFrom(fields);
    state::rowRemovalSettled(
        {device.c_str(), phyId, outer.prio, outer.vlanId, outer.tpid_de, inner.prio, inner.vlanId, inner.tpid_de});
    for (const auto direction : {VLANCTL_DIRECTION_RX, VLANCTL_DIRECTION_TX})
        engine().deleteVlanRuleIdFromMap(device.c_str(), phyId, static_cast<std::uint16_t>(direction), &outer, &inner);
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
        takeBackRule({device, direction, static_cast<std::uint8_t>(firstTags + i)}, before[i], id, highestId);
    }
}

void deleteMadeDevice(const std::string& device) {
    if (!engine().isInterfaceExisted(device.c_str())) return;
    tell(LogText("%s was being made: taken away", device.c_str()));
    const VlanCtlSession session;
    if (vlanCtl_deleteVlanInterface(device.c_str()) == 0) state::deviceGone(device.c_str());
}

void deleteMadeBridge(const std::string& bridge) {
    if (!engine().isInterfaceExisted(bridge.c_str())) return;
    tell(LogText("%s was being made: taken away", bridge.c_str()));
    engine().ifDown(bridge.c_str());
    if (br_init() != 0) return;
    if (br_del_bridge(bridge.c_str()) == 0) state::deviceGone(bridge.c_str());
    br_shutdown();
}

// What an interrupted removal has left of the pair.
void deleteAniPair(std::uint16_t bridgeId) {
    DeviceName ani("gpon%d", bridgeId);
    DeviceName vlan("gpon%d.%d", bridgeId, bridgeId);
    engine().deleteAniVlanInterface(ani.get(), vlan.get());
}

void deleteBridge(std::uint16_t bridgeId) {
    if (engine().isInterfaceExisted(DeviceName("br%d", bridgeId).get())) engine().deleteBridgeInterface(bridgeId);
}

// Without the runner's part, which comes before the step, and without the association of bridge and UNI: the operation
// needs it when it comes again.
void removeUni(std::uint16_t uniPort, std::uint16_t bridgeId) {
    freeRules(DeviceName("sid%d", uniPort - 1).get(), uniPort);
    m_dscpConfigInfo[uniPort] = false;
    m_cTagConfigInfo[uniPort] = false;
    state::touched(state::Book::ModelMarks, std::uint32_t{uniPort});
    engine().removeUniInterfaceFromBridgeGroup(bridgeId, uniPort);
    engine().deleteUniInterface(bridgeId, uniPort);
}

// The last service is gone: so are the others of the map.
void removeVeip(std::uint16_t bridgeId, std::uint16_t gemPortId) {
    forgetServices();
    freeRules(kVeipRealDevice, kVeipPhyId);
    engine().removeVeipInterface();  // the devices on it, which the gateway may still hold for a while
    if (engine().isInterfaceExisted(kVeipDevice)) {
        const VlanCtlSession session;
        if (vlanCtl_deleteVlanInterface(kVeipDevice) == 0) state::deviceGone(kVeipDevice);
    }
    engine().flushAniSideVlanRules(bridgeId, gemPortId);
}

void leaveDhcpClient(std::uint16_t bridgeId, std::uint16_t uniPort) {
    if (state::Journal* const journal = state::journal())
        journal->put(keyOf(state::Book::DhcpClients, bridgeId, uniPort), {});
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
        case Step::RemoveRow:
            removeRow(fields);
            break;
        case Step::MakeBridge:
            deleteMadeBridge(fields.text());
            break;
        case Step::MakeDevice:
            deleteMadeDevice(fields.text());
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
        case Step::MakeGemPort:
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
    }
}

}  // namespace

bool isStep(const state::UnfinishedStep& step) {
    ByteReader fields(step.step);
    switch (static_cast<Step>(fields.u8())) {
        case Step::InsertRules:
            if (!isPlainDeviceName(fields.text())) return false;
            fields.raw(2);
            if (fields.left() == 0 || fields.left() > kMostTables * sizeof(std::uint32_t)) return false;
            while (fields.left() > 0) fields.u32();
            break;
        case Step::FreeRules:
            if (!isPlainDeviceName(fields.text())) return false;
            fields.u16();
            break;
        case Step::RemoveRow:
            if (!isPlainDeviceName(fields.text())) return false;
            fields.raw(16);
            break;
        case Step::MakeBridge:
            if (!isBridge(fields.text())) return false;
            break;
        case Step::MakeDevice:
            if (!isMadeDevice(fields.text())) return false;
            break;
        case Step::RaisePonDevice:
            break;
        case Step::DeleteAniPair:
        case Step::DeleteBridge:
        case Step::ResetTcont:
        case Step::MakeGemPort:
        case Step::RemoveGemPort:
            fields.u16();
            break;
        case Step::BindTcont:
        case Step::RemoveUni:
        case Step::RemoveVeip:
        case Step::StartDhcp:
            fields.raw(4);
            break;
        default:
            return false;
    }
    return fields.done();
}

void settleUnfinished(const std::vector<state::UnfinishedStep>& steps) {
    if (steps.empty()) return;
    tell(LogText("the last operation was not finished: %d steps are taken back or finished",
                 static_cast<int>(steps.size())));
    std::uint32_t highestId = highestKnownRuleId();
    for (const state::UnfinishedStep& step : steps)
        for (const std::uint32_t id : step.results)
            if (id != VLANCTL_DONT_CARE) highestId = std::max(highestId, id);
    std::for_each(steps.rbegin(), steps.rend(), [&](const auto& step) { settle(step, highestId); });
}

}  // namespace restart
