#include "BRCM/BCM968580/DATA/restart/Forwarding.h"

#include <algorithm>

#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/DATA/forwarding/Mode.h"
#include "BRCM/BCM968580/DATA/forwarding/Operations.h"
#include "BRCM/BCM968580/DATA/g988/RuleCalls.h"
#include "BRCM/BCM968580/DATA/g988/Stored.h"
#include "BRCM/BCM968580/DATA/restart/MapEntries.h"
#include "BRCM/BCM968580/DATA/restart/RestartLog.h"
#include "BRCM/BCM968580/DATA/restart/RuleTables.h"
#include "kit/DeviceNames.h"

using forwarding::services;
using g988::TableKey;
using kit::Entry;
using state::ByteReader;
using state::ByteWriter;

namespace restart {

namespace {

g988::Direction directionOf(std::uint32_t direction) {
    return direction == VLANCTL_DIRECTION_RX ? g988::Direction::Receive : g988::Direction::Transmit;
}

// ---- entries ----

bool readTaggedPort(ByteReader& key, ByteWriter& value) {
    const auto& ports = services().tables().uniPorts;
    const auto port = ports.find(key.u16());
    if (port == ports.end()) return false;
    store(port->second, value);
    return true;
}

bool restoreTaggedPort(ByteReader& key, ByteReader& value, Reading reading) {
    const std::uint16_t number = key.u16();
    g988::UniPort port = g988::readUniPort(value);
    if (!key.done() || !value.done()) return false;
    if (reading == Reading::Restore) services().restore(number, std::move(port));
    return true;
}

void forEachTaggedPort(const std::function<void(const std::string&)>& visit) {
    for (const auto& port : services().tables().uniPorts) visit(kit::keyOf(Entry::TaggedPorts, port.first));
}

bool readPonSideOf(ByteReader& key, ByteWriter& value) {
    const auto side = services().ponSide(key.u16());
    if (!side) return false;
    store(*side, value);
    return true;
}

bool restorePonSide(ByteReader& key, ByteReader& value, Reading reading) {
    const std::uint16_t bridge = key.u16();
    g988::PonSide side = g988::readPonSide(value);
    if (!key.done() || !value.done()) return false;
    if (reading == Reading::Restore) services().restore(bridge, std::move(side));
    return true;
}

void forEachPonSide(const std::function<void(const std::string&)>& visit) {
    for (const auto& bridge : services().tables().bridges) visit(kit::keyOf(Entry::PonSides, bridge.first));
}

TableKey tableFrom(ByteReader& key) {
    TableKey table;
    table.device = key.text();
    table.direction = static_cast<g988::Direction>(key.flag());
    table.tags = key.u8();
    return table;
}

bool readPlannedRule(ByteReader& key, ByteWriter& value) {
    const auto& installed = services().installed();
    const auto table = installed.find(tableFrom(key));
    const std::uint32_t id = key.u32();
    const g988::InstalledRule* const rule = table == installed.end() ? nullptr : table->second.find(id);
    if (rule == nullptr) return false;
    store(*rule, value);
    return true;
}

bool restorePlannedRule(ByteReader& key, ByteReader& value, Reading reading) {
    const TableKey table = tableFrom(key);
    const std::uint32_t id = key.u32();
    g988::InstalledRule installed = g988::readInstalledRule(value);
    if (!key.done() || !value.done() || !kit::isPlainDeviceName(table.device) || table.tags > g988::kTableTags)
        return false;
    installed.id = id;
    if (reading == Reading::Restore) services().restore(table, std::move(installed));
    return true;
}

void forEachPlannedRule(const std::function<void(const std::string&)>& visit) {
    for (const auto& [table, rules] : services().installed())
        for (const g988::InstalledRule& one : rules.inOrder())
            visit(kit::keyOf(Entry::PlannedRules, table.device, static_cast<std::uint8_t>(table.direction),
                             static_cast<std::uint8_t>(table.tags), one.id));
}

bool readGatewayGem(ByteReader& key, ByteWriter& /*value*/) {
    return services().gatewayGems().count(key.u16()) != 0;
}

bool restoreGatewayGem(ByteReader& key, ByteReader& value, Reading reading) {
    const std::uint16_t gemPortId = key.u16();
    if (!key.done() || !value.done()) return false;
    if (reading == Reading::Restore) services().restoreGatewayGem(gemPortId);
    return true;
}

void forEachGatewayGem(const std::function<void(const std::string&)>& visit) {
    for (const std::uint16_t gemPortId : services().gatewayGems()) visit(kit::keyOf(Entry::GatewayGems, gemPortId));
}

// ---- the device ----

// Rules whose number is not right: nobody knows which of them are left.
void forgetUncertainRules() {
    const g988::Installed installed = services().installed();
    for (const auto& [key, rules] : installed) {
        const kit::RuleTable table = g988::kitTableOf(key);
        const std::uint32_t onDevice = rulesOnDevice(table).value_or(0);
        if (onDevice >= rules.size()) continue;
        if (onDevice > 0) {
            const kit::VlanCtlSession session;
            for (const g988::InstalledRule& one : rules.inOrder()) kit::removeRule(table, one.id);
        }
        services().forgetRules(key);
    }
}

}  // namespace

const std::vector<MapEntries>& plannedMaps() {
    static const auto& maps = *new std::vector<MapEntries>{
        {Entry::TaggedPorts, readTaggedPort, restoreTaggedPort, forEachTaggedPort},
        {Entry::PonSides, readPonSideOf, restorePonSide, forEachPonSide},
        {Entry::PlannedRules, readPlannedRule, restorePlannedRule, forEachPlannedRule},
        {Entry::GatewayGems, readGatewayGem, restoreGatewayGem, forEachGatewayGem},
    };
    return maps;
}

std::string problemOfMode(const state::Journal& journal) {
    const bool isG988 = journal.find(kit::keyOf(Entry::Forwarding)) != nullptr;
    const bool isEmpty = journal.entries().empty() && journal.unfinished().empty();
    if (isEmpty || isG988 == forwarding::isG988()) return "";
    return isG988 ? "was made with forwarding by G.988, and the contract holds now"
                  : "was made with forwarding by the contract, and G.988 holds now";
}

void noteMode() {
    if (!forwarding::isG988()) return;
    state::journal()->put(kit::keyOf(Entry::Forwarding), ByteWriter().add(std::uint8_t{1}).take());
}

void finishRuleRemoval(ByteReader& fields) {
    kit::RuleTable table;
    table.device = fields.text();
    table.direction = fields.u8();
    table.tags = fields.u8();
    const std::uint32_t id = fields.u32();
    // A rule that the same operation had made is no rule of the file: its insertion is taken back.
    const bool isPlanned = services().forgetRule({table.device, directionOf(table.direction), table.tags}, id);
    if (!isPlanned && !forgetKnownRule(table, id)) return;
    const kit::VlanCtlSession session;
    if (kit::removeRule(table, id) != 0) kit::forgetRule(table, id);
}

void forgetGatewayService(std::uint16_t bridgeId, std::uint16_t gemPortId) {
    if (!forwarding::isG988()) return;
    services().forgetGemPort(bridgeId, gemPortId);
    services().removeGatewayGem(gemPortId);
}

std::set<std::uint32_t> plannedRuleIds(const kit::RuleTable& table) {
    const auto& installed = services().installed();
    const auto rules = installed.find({table.device, directionOf(table.direction), table.tags});
    return rules == installed.end() ? std::set<std::uint32_t>() : rules->second.ids();
}

std::set<std::uint32_t> plannedRuleIds() {
    std::set<std::uint32_t> ids;
    for (const auto& table : services().installed()) ids.merge(table.second.ids());
    return ids;
}

void bringBackPlannedRules() {
    if (!forwarding::isG988()) return;
    services().forgetMissing(
        [](const std::string& device) { return EtherSwitchBcm380::getInstance()->isInterfaceExisted(device.c_str()); });
    forgetUncertainRules();
    const g988::Outcome outcome = services().bringBack();
    if (!outcome.done) report(LogText("services are not as they were: %s", outcome.reason.c_str()));
    services().expectClaims();
}

int settlePlannedRules(const std::function<void(const std::string& line)>& report) {
    const std::set<std::uint32_t> before = plannedRuleIds();
    const g988::Outcome outcome = forwarding::settle();
    if (!outcome.done) report("what nobody has asked for stays: " + outcome.reason);
    const std::set<std::uint32_t> after = plannedRuleIds();
    return static_cast<int>(std::count_if(before.begin(), before.end(), [&](auto id) { return after.count(id) == 0; }));
}

bool isPlannedDevice(const std::string& device) {
    return services().needsDevice(device);
}

void removePlannedRules(const std::function<bool(const kit::RuleTable& table, std::uint32_t id)>& remove) {
    services().forgetTables();
    const g988::Installed installed = services().installed();
    for (const auto& [key, rules] : installed)
        for (const g988::InstalledRule& one : rules.inOrder())
            if (remove(g988::kitTableOf(key), one.id)) services().forgetRule(key, one.id);
}

}  // namespace restart
