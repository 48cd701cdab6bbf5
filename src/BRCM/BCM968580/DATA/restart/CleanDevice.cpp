// Takes everything that the state file knows off the device, services first, as they are removed: VEIP, UNIs, rules, IP
// hosts, devices and bridges, GEM ports, T-CONTs. Results are looked at here, unlike in the operations.
#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "BRCM/BCM968580/DATA/EngineNames.h"
#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/DATA/TagRule.h"
#include "BRCM/BCM968580/DATA/gateway/ServiceMap.h"
#include "BRCM/BCM968580/DATA/iphost/IpHostCommands.h"
#include "BRCM/BCM968580/DATA/restart/DeviceNames.h"
#include "BRCM/BCM968580/DATA/restart/FactBook.h"
#include "BRCM/BCM968580/DATA/restart/Restart.h"
#include "BRCM/BCM968580/DATA/restart/RestartLog.h"
#include "BRCM/BCM968580/DATA/restart/RuleTables.h"
#include "BRCM/BCM968580/DATA/uni/UniTagging.h"
#include "bridge/BridgeControl.h"
#include "hal/SharedVariable.h"
#include "platform/vlanctl.h"
#include "state/Facts.h"
#include "state/Journal.h"
#include "xpon/CleanPon.h"

namespace restart {

namespace {

EtherSwitchBcm380& engine() {
    return *EtherSwitchBcm380::getInstance();
}

bool stands(const std::string& device) {
    return engine().isInterfaceExisted(device.c_str());
}

// Counts what the device refuses, and names it.
class Refusals {
public:
    void add(const LogText& text) {
        ++count_;
        logLine(kCleanDevice, kLogError, text);
    }
    int count() const { return count_; }

private:
    int count_ = 0;
};

// ---- rules ----

// A rule that is not there any more was taken out by somebody else.
bool takeRuleOut(const TableName& table, std::uint32_t id) {
    {
        const VlanCtlSession session;
        if (vlanCtl_removeTagRule(table.device.c_str(), table.direction, table.tags, id) == 0) {
            state::ruleTaken({table.device.c_str(), table.direction, table.tags}, id);
            return true;
        }
    }
    return rulesOnDevice(table).value_or(0) == 0;
}

void takeOutOfEntry(VLAN_RULE_MAP_ENTRY& entry, VLAN_RULE_INFO* rules, std::uint32_t* count) {
    std::uint32_t kept = 0;
    for (std::uint32_t i = 0; i < *count; ++i) {
        const VLAN_RULE_INFO rule = rules[i];
        const TableName table = {entry.ifName, static_cast<std::uint8_t>(rule.dir),
                                 static_cast<std::uint8_t>(rule.nbrOfTags)};
        if (!takeRuleOut(table, rule.tagRuleId)) rules[kept++] = rule;
    }
    std::fill(rules + kept, rules + *count, VLAN_RULE_INFO{});
    *count = kept;
}

void takeOutRules() {
    for (auto found = m_VLAN_RULE_MAP_ENTRY.begin(); found != m_VLAN_RULE_MAP_ENTRY.end();) {
        VLAN_RULE_MAP_ENTRY& entry = *found->second;
        state::touched(state::Book::Rules, entry.ifName, entry.phyId);
        takeOutOfEntry(entry, entry.oldRules, &entry.nbrOfOldRules);
        takeOutOfEntry(entry, entry.newRules, &entry.nbrOfNewRules);
        found = entry.nbrOfOldRules + entry.nbrOfNewRules == 0 ? m_VLAN_RULE_MAP_ENTRY.erase(found) : std::next(found);
    }
    for (const LooseRule& rule : knownLooseRules())
        if (takeRuleOut({rule.device, rule.direction, rule.tags}, rule.id))
            state::ruleTaken({rule.device.c_str(), rule.direction, rule.tags}, rule.id);
}

// The rules of a device that was taken away have gone with it.
void nameRulesThatStay(Refusals& refusals) {
    std::set<std::string> devices;
    for (const auto& entry : m_VLAN_RULE_MAP_ENTRY) devices.insert(entry.first.ifName);
    for (const std::string& device : devices)
        if (!stands(device)) forgetRulesOf(device);
    for (const Table& table : knownTables()) {
        const std::set<std::uint32_t> ids = knownRuleIds({table.device, table.direction, table.tags});
        for (const std::uint32_t id : ids)
            refusals.add(LogText("rule %u of %s stays: vlanctl refuses", id, table.device.c_str()));
        if (ids.empty()) state::forgetTable({table.device.c_str(), table.direction, table.tags});
    }
}

// ---- devices and bridges ----

// True when the device is gone.
bool deleteDevice(const std::string& device) {
    if (stands(device)) {
        const VlanCtlSession session;
        if (vlanCtl_deleteVlanInterface(device.c_str()) != 0) return false;
    }
    state::deviceGone(device.c_str());
    return true;
}

bool deleteBridge(const std::string& bridge) {
    if (stands(bridge)) {
        engine().ifDown(bridge.c_str());
        if (br_init() != 0) return false;
        const bool deleted = br_del_bridge(bridge.c_str()) == 0;
        br_shutdown();
        if (!deleted) return false;
    }
    state::deviceGone(bridge.c_str());
    return true;
}

// VLAN devices go before the devices under them, and bridges at the end.
int orderOf(const std::string& device) {
    if (isBridge(device)) return 3;
    if (device == kVeipDevice) return 0;
    return device.find('.') != std::string::npos ? 1 : 2;
}

void deleteDevices(Refusals& refusals) {
    std::vector<std::string> devices = knownDevices();
    std::stable_sort(devices.begin(), devices.end(),
                     [](const auto& one, const auto& other) { return orderOf(one) < orderOf(other); });
    for (const std::string& device : devices)
        if (!(isBridge(device) ? deleteBridge(device) : deleteDevice(device)))
            refusals.add(LogText("%s stays: its removal is refused", device.c_str()));
}

// ---- hosts and the runner ----

void removeHosts() {
    for (const IpHost& host : knownIpHosts()) {
        const DeviceName device("br%d.%d", host.bridgeId, host.uniPort);
        IpHostCommands commands(engine());
        commands.removeKey(host.mac.c_str());
        if (host.dhcp) {
            commands.killDhcpClient(device.get());
        } else {
            commands.deleteRoutingRule(host.address.c_str());
        }
        commands.deleteHostFlowClass();
        commands.removeKeyMask();
        state::ipHostGone(host.bridgeId, host.uniPort);
    }
}

void removeRunnerObjects() {
    for (const std::uint16_t uniPort : knownDscpShortcuts()) {
        uni_tagging::removeDscpShortcut(uniPort);
        engine().unsetDscpToPbitsTable(DeviceName("sid%d", uniPort - 1).get());
    }
}

// ---- the maps ----

template <typename Map>
void forget(Map& map, state::Book book) {
    for (const auto& entry : map) state::touched(book, entry.first);
    map.clear();
}

void forgetServiceMaps() {
    using state::Book;
    forgetServices();
    forget(m_BridgeIdToUniId, Book::BridgeUni);
    forget(tGemPortMap, Book::ServiceGem);
    forget(gemPortPbitToQMap, Book::PbitQueues);
    for (std::uint8_t pbit = 0; pbit < 8; ++pbit) {
        xgemPortIdForPbit[pbit] = kNoGemPort;
        xgemUpstremQueueForPbit[pbit] = 0;
        state::touched(Book::PbitGem, pbit);
    }
    for (auto* marks : {&m_dscpConfigInfo, &m_cTagConfigInfo}) forget(*marks, Book::ModelMarks);
    engine().setMcastGemInfo(0, 0);
    storeShared(EtherSwitchBcm380::multicastEnable, 0);
    EtherSwitchBcm380::numServices = 0;
    state::touched(Book::IpHostCount);
}

}  // namespace

int cleanDevice() {
    if (state::journal() == nullptr) {
        logLine(kCleanDevice, kLogError, LogText("no state is open"));
        return -1;
    }
    const state::Operation operation;
    Refusals refusals;
    removeRunnerObjects();
    takeOutRules();
    removeHosts();
    deleteDevices(refusals);
    nameRulesThatStay(refusals);
    cleanPon([&](const char* line) { refusals.add(LogText("%s", line)); });
    forgetServiceMaps();
    return refusals.count();
}

}  // namespace restart
