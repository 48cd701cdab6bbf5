#include "BRCM/BCM968580/DATA/restart/Compare.h"

#include <dirent.h>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include "BRCM/BCM968580/DATA/EngineMaps.h"
#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/restart/DeviceEntries.h"
#include "BRCM/BCM968580/DATA/restart/RestartLog.h"
#include "BRCM/BCM968580/DATA/restart/RuleTables.h"
#include "bridge/BridgeControl.h"
#include "device/NetworkInterface.h"
#include "kit/DeviceNames.h"
#include "kit/Devices.h"
#include "xpon/ComparePon.h"
#include "xpon/PonMaps.h"

namespace restart {

namespace {

constexpr const char* kDevices = "/sys/class/net";

std::set<std::string> membersOf(const std::string& bridge) {
    std::set<std::string> members;
    br_foreach_port(
        bridge.c_str(),
        [](const char*, const char* port, void* found) {
            static_cast<std::set<std::string>*>(found)->insert(port);
            return 0;
        },
        &members, nullptr);
    return members;
}

// ---- devices and bridges ----

void forgetDevice(const std::string& device) {
    report(LogText("%s is no longer there: forgotten", device.c_str()));
    forgetRulesOf(device);
    forgetUniOf(device);
    kit::forgetDevice(device.c_str());
}

void compareDevices() {
    for (const std::string& device : knownDevices())
        if (!kit::deviceExists(device.c_str())) forgetDevice(device);
    for (const Member& member : knownMembers()) {
        if (membersOf(member.bridge).count(member.device) != 0) continue;
        report(LogText("%s is no longer on %s: forgotten", member.device.c_str(), member.bridge.c_str()));
        kit::forgetMembership(member.device.c_str());
    }
}

// VLAN devices are up from their creation on, and the PON device while it has a GEM port.
void nameDevicesThatAreDown() {
    std::vector<std::string> devices = knownDevices();
    devices.erase(std::remove_if(devices.begin(), devices.end(), kit::isBridge), devices.end());
    if (g_GemCnt > 0) devices.emplace_back(kPonDevice);
    for (const std::string& device : devices)
        if (!isInterfaceUp(device.c_str())) report(LogText("%s is down", device.c_str()));
}

void nameUnknownDevices() {
    std::set<std::string> known;
    for (std::string& device : knownDevices()) known.insert(std::move(device));
    std::vector<std::string> unknown;
    DIR* const directory = opendir(kDevices);
    if (directory == nullptr) return;
    while (const dirent* entry = readdir(directory))
        if (kit::isCreatedDevice(entry->d_name) && known.count(entry->d_name) == 0) unknown.emplace_back(entry->d_name);
    closedir(directory);
    std::sort(unknown.begin(), unknown.end());
    for (const std::string& device : unknown)
        report(LogText("%s is on the device and not in the state", device.c_str()));

    std::set<std::string> members;
    for (Member& member : knownMembers()) members.insert(std::move(member.device));
    for (const std::string& bridge : known) {
        if (!kit::isBridge(bridge)) continue;
        for (const std::string& port : membersOf(bridge))
            if (members.count(port) == 0)
                report(LogText("%s is on %s and not in the state", port.c_str(), bridge.c_str()));
    }
}

// ---- rule tables ----

void compareTable(const CountedTable& counted) {
    const kit::RuleTable& table = counted.table;
    const std::uint32_t count = rulesOnDevice(table).value_or(0);
    if (count == counted.rules) return;
    const LogText name("%s direction %u tags %u", table.device.c_str(), table.direction, table.tags);
    if (count == 0) {
        forgetRules(table);
        report(LogText("%s: no rule is left of %u: forgotten", name.get(), counted.rules));
    } else if (count < counted.rules) {
        report(LogText("%s: only %u of %u rules are left", name.get(), count, counted.rules));
    } else {
        report(LogText("%s: %u rules, %u more than in the state", name.get(), count, count - counted.rules));
    }
    kit::noteRuleCount(table, count);
}

}  // namespace

void forgetUniOf(const std::string& device) {
    for (auto entry = m_BridgeIdToUniId.begin(); entry != m_BridgeIdToUniId.end();) {
        const auto [bridgeId, uniPort] = *entry;
        ++entry;
        if (device == kit::bridgeName(bridgeId).get() || device == kit::uniVlanName(uniPort - 1, bridgeId).get())
            engine_maps::dissociateUni(bridgeId);
    }
}

void compareWithDevice() {
    compareDevices();
    nameDevicesThatAreDown();
    nameUnknownDevices();
    for (const CountedTable& table : knownTables()) compareTable(table);
    std::vector<std::pair<std::uint16_t, bool>> ports;
    for (const GemPortState& port : knownGemPorts()) ports.emplace_back(port.gemPortId, port.up);
    comparePon(ports, knownTcontsWithQueues(), [](const char* line) { report(LogText("%s", line)); });
}

}  // namespace restart
