// Takes everything that the state file knows off the device, services first, as they are removed: VEIP, UNIs, rules, IP
// hosts, devices and bridges, GEM ports, T-CONTs. Results are looked at here, unlike in the operations.
#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "BRCM/BCM968580/DATA/EngineMaps.h"
#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/DATA/RuleMap.h"
#include "BRCM/BCM968580/DATA/gateway/ServiceMap.h"
#include "BRCM/BCM968580/DATA/iphost/IpHostCommands.h"
#include "BRCM/BCM968580/DATA/restart/DeviceEntries.h"
#include "BRCM/BCM968580/DATA/restart/Forwarding.h"
#include "BRCM/BCM968580/DATA/restart/Restart.h"
#include "BRCM/BCM968580/DATA/restart/RestartLog.h"
#include "BRCM/BCM968580/DATA/restart/RuleTables.h"
#include "kit/DeviceNames.h"
#include "kit/Devices.h"
#include "kit/Rules.h"
#include "kit/Runner.h"
#include "kit/StateEntries.h"
#include "xpon/CleanPon.h"

namespace restart {

namespace {

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

// Whether the rule is off the device: one that does not exist any more was removed by somebody else.
bool removeFromDevice(const kit::RuleTable& table, std::uint32_t id) {
    {
        const kit::VlanCtlSession session;
        if (kit::removeRule(table, id) == 0) return true;
    }
    return rulesOnDevice(table).value_or(0) == 0;
}

void removeRules() {
    eraseRulesIf(
        "", [](const auto& entry, const auto& rule) { return removeFromDevice(tableOf(entry, rule), rule.tagRuleId); });
    for (const LooseRule& rule : knownLooseRules())
        if (removeFromDevice(rule.table, rule.id)) kit::forgetRule(rule.table, rule.id);
    removePlannedRules(removeFromDevice);
}

// The rules of a device that was removed have gone with it.
void nameRulesThatStay(Refusals& refusals) {
    std::set<std::string> devices;
    for (const auto& entry : m_VLAN_RULE_MAP_ENTRY) devices.insert(entry.first.ifName);
    for (const std::string& device : devices)
        if (!engine().isInterfaceExisted(device.c_str())) forgetRulesOf(device);
    for (const CountedTable& counted : knownTables()) {
        const kit::RuleTable& table = counted.table;
        const std::set<std::uint32_t> ids = knownRuleIds(table);
        for (const std::uint32_t id : ids)
            refusals.add(LogText("rule %u of %s stays: vlanctl refuses", id, table.device.c_str()));
        if (ids.empty()) kit::forgetTable(table);
    }
}

// ---- devices and bridges ----

// True when the device is gone.
bool removeIfExisting(const std::string& device) {
    if (!engine().isInterfaceExisted(device.c_str())) {
        kit::forgetDevice(device.c_str());
        return true;
    }
    if (kit::isBridge(device)) return kit::deleteBridge(device.c_str()) == InterfaceResult::Done;
    const kit::VlanCtlSession session;
    return kit::removeDevice(device.c_str()) == 0;
}

// VLAN devices go before the devices under them, and bridges at the end.
int orderOf(const std::string& device) {
    if (kit::isBridge(device)) return 3;
    if (device == kVeipDevice) return 0;
    return device.find('.') != std::string::npos ? 1 : 2;
}

void removeDevices(Refusals& refusals) {
    std::vector<std::string> devices = knownDevices();
    std::stable_sort(devices.begin(), devices.end(),
                     [](const auto& one, const auto& other) { return orderOf(one) < orderOf(other); });
    for (const std::string& device : devices)
        if (!removeIfExisting(device)) refusals.add(LogText("%s stays: its removal is refused", device.c_str()));
}

// ---- hosts and the runner ----

void removeHosts() {
    for (const IpHost& host : knownIpHosts()) {
        const DeviceName device = kit::ipHostName(host.bridgeId, host.uniPort);
        IpHostCommands commands(engine());
        commands.removeKey(host.mac.c_str());
        if (host.dhcp) {
            commands.killDhcpClient(device.get());
        } else {
            commands.deleteRoutingRule(host.address.c_str());
        }
        commands.deleteHostFlowClass();
        commands.removeKeyMask();
        kit::noteMark(false, kit::Entry::IpHosts, host.bridgeId, host.uniPort);
    }
}

void removeRunnerObjects() {
    for (const std::uint16_t uniPort : knownDscpShortcuts()) {
        kit::removeDscpShortcut(uniPort);
        engine().unsetDscpToPbitsTable(kit::uniName(uniPort - 1U).get());
    }
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
    removeRules();
    removeHosts();
    removeDevices(refusals);
    nameRulesThatStay(refusals);
    cleanPon([&](const char* line) { refusals.add(LogText("%s", line)); });
    forgetServices();
    engine_maps::clear();
    return refusals.count();
}

}  // namespace restart
