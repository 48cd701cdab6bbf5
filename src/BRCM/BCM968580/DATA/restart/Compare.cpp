#include "BRCM/BCM968580/DATA/restart/Compare.h"

#include <dirent.h>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/restart/DeviceNames.h"
#include "BRCM/BCM968580/DATA/restart/FactBook.h"
#include "BRCM/BCM968580/DATA/restart/RestartLog.h"
#include "BRCM/BCM968580/DATA/restart/RuleTables.h"
#include "bridge/BridgeControl.h"
#include "device/NetworkInterface.h"
#include "state/Facts.h"
#include "state/Journal.h"
#include "xpon/ComparePon.h"

namespace restart {

namespace {

constexpr const char* kDevices = "/sys/class/net";

bool stands(const std::string& device) {
    return interfaceIndex(device.c_str()) > 0;
}

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

// A bridge whose UNI device is gone has none that its removal could take out.
void forgetUniOf(const std::string& device) {
    for (auto entry = m_BridgeIdToUniId.begin(); entry != m_BridgeIdToUniId.end();) {
        const auto [bridgeId, uniPort] = *entry;
        const auto here = entry++;
        const DeviceName bridge("br%u", bridgeId);
        const DeviceName vlan("sid%d.%u", static_cast<int>(uniPort) - 1, bridgeId);
        if (device != bridge.get() && device != vlan.get()) continue;
        m_BridgeIdToUniId.erase(here);
        state::touched(state::Book::BridgeUni, bridgeId);
    }
}

void forgetDevice(const std::string& device) {
    tell(LogText("%s is no longer there: forgotten", device.c_str()));
    forgetRulesOf(device);
    forgetUniOf(device);
    state::deviceGone(device.c_str());
}

void compareDevices() {
    for (const std::string& device : knownDevices())
        if (!stands(device)) forgetDevice(device);
    for (const Member& member : knownMembers()) {
        if (membersOf(member.bridge).count(member.device) != 0) continue;
        tell(LogText("%s is no longer on %s: forgotten", member.device.c_str(), member.bridge.c_str()));
        state::left(member.device.c_str());
    }
}

void nameUnknownDevices() {
    std::set<std::string> known;
    for (std::string& device : knownDevices()) known.insert(std::move(device));
    std::vector<std::string> unknown;
    DIR* const directory = opendir(kDevices);
    if (directory == nullptr) return;
    while (const dirent* entry = readdir(directory))
        if (isMadeDevice(entry->d_name) && known.count(entry->d_name) == 0) unknown.emplace_back(entry->d_name);
    closedir(directory);
    std::sort(unknown.begin(), unknown.end());
    for (const std::string& device : unknown) tell(LogText("%s is on the device and not in the state", device.c_str()));

    std::set<std::string> members;
    for (Member& member : knownMembers()) members.insert(std::move(member.device));
    for (const std::string& bridge : known) {
        if (!isBridge(bridge)) continue;
        for (const std::string& port : membersOf(bridge))
            if (members.count(port) == 0)
                tell(LogText("%s is on %s and not in the state", port.c_str(), bridge.c_str()));
    }
}

// ---- rule tables ----

void compareTable(const Table& table) {
    const TableName name = {table.device, table.direction, table.tags};
    const std::uint32_t count = rulesOnDevice(name).value_or(0);
    if (count == table.rules) return;
    const auto numbers = DeviceName("%u of %u", count, table.rules);
    const char* const device = table.device.c_str();
    if (count == 0) {
        forgetRules(name);
        tell(LogText("%s direction %d tags %d: no rule is left of %u: forgotten", device, table.direction, table.tags,
                     table.rules));
    } else if (count < table.rules) {
        tell(LogText("%s direction %d tags %d: only %s rules are left", device, table.direction, table.tags,
                     numbers.get()));
    } else {
        tell(LogText("%s direction %d tags %d: %u rules, %u more than in the state", device, table.direction,
                     table.tags, count, count - table.rules));
    }
    state::noteRulesInTable({device, table.direction, table.tags}, count);
}

}  // namespace

void compareWithDevice() {
    compareDevices();
    nameUnknownDevices();
    for (const Table& table : knownTables()) compareTable(table);
    std::vector<std::pair<std::uint16_t, bool>> ports;
    for (const GemPortState& port : knownGemPorts()) ports.emplace_back(port.gemPortId, port.up);
    comparePon(ports, knownTcontsWithQueues(), [](const char* line) { tell(LogText("%s", line)); });
}

}  // namespace restart
