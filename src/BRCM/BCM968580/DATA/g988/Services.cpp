#include "BRCM/BCM968580/DATA/g988/Services.h"

#include <algorithm>

#include "BRCM/BCM968580/DATA/g988/Draft.h"
#include "kit/StateEntries.h"

namespace g988 {

namespace {

constexpr std::uint16_t kLastEthernetPort = 4;
constexpr std::uint8_t kLastTrafficModel = 6;

std::string bridgeName(const BridgeServiceProvisioning& record) {
    return "br" + std::to_string(record.bridgeId);
}

void leave(Tables& tables, std::uint16_t number, std::uint16_t bridge) {
    const auto found = tables.uniPorts.find(number);
    if (found == tables.uniPorts.end()) return;
    UniPort& port = found->second;
    port.bridges.erase(bridge);
    if (port.bridges.empty()) {
        tables.uniPorts.erase(found);
        return;
    }
    if (!port.tagging) return;
    const std::vector<TaggingRow> rows = port.tagging->rows();
    for (const TaggingRow& row : rows)
        if (row.bridge == bridge) port.tagging->erase(row);
}

}  // namespace

Outcome Services::change(Tables tables, const Prepare& prepare) {
    return change(std::move(tables), keys_, prepare);
}

// The devices are one operation of the state file, the rules another: a process that ends between them has made its
// devices, and the operation may be called again.
Outcome Services::change(Tables tables, Keys keys, const Prepare& prepare) {
    const Plan plan = planOf(tables);
    if (!plan.refusals.empty()) return {false, plan.refusals.front().text()};
    if (prepare) {
        const std::string problem = prepare();
        if (!problem.empty()) return {false, problem};
    }
    const state::Operation operation;
    Outcome outcome = carryOut(plan, installed_);
    if (!outcome.done) return outcome;
    noteTables();
    tables_ = std::move(tables);
    keys_ = std::move(keys);
    noteTables();
    return outcome;
}

// What is gone and what has come: the file takes what differs.
void Services::noteTables() const {
    if (state::journal() == nullptr) return;
    for (const auto& port : tables_.uniPorts) kit::noteChange(kit::Entry::TaggedPorts, port.first);
    for (const auto& bridge : tables_.bridges) kit::noteChange(kit::Entry::PonSides, bridge.first);
}

Outcome Services::setUni(const UniDataProvisioning& record, const Prepare& prepare) {
    if (record.uniPort == 0) return {false, "there is no UNI port 0"};
    if (record.uniPort > kLastEthernetPort) return {true, ""};
    const auto number = static_cast<std::uint16_t>(record.uniPort - 1);
    Tables tables = tables_;
    if (deletesRow(record)) {
        const auto found = tables.uniPorts.find(number);
        if (found == tables.uniPorts.end() || !found->second.tagging) return {true, ""};
        found->second.tagging->erase(rowOf(record));
        return change(std::move(tables));
    }
    UniPort& port = tables.uniPorts[number];
    port.bridges.insert(record.bridgeId);
    if (record.hasTagRules == 0) {
        port.tagging.reset();
        return change(std::move(tables), prepare);
    }
    if (!port.tagging) port.tagging.emplace();
    setAttributes(*port.tagging, record);
    port.tagging->set(rowOf(record));
    return change(std::move(tables), prepare);
}

Outcome Services::removeUni(std::uint16_t uniPort, std::uint16_t bridge) {
    if (uniPort == 0) return {false, "there is no UNI port 0"};
    Tables tables = tables_;
    leave(tables, static_cast<std::uint16_t>(uniPort - 1), bridge);
    return change(std::move(tables));
}

Outcome Services::removeUniSide(std::uint16_t bridge) {
    Tables tables = tables_;
    for (const auto& port : tables_.uniPorts) leave(tables, port.first, bridge);
    return change(std::move(tables));
}

Outcome Services::setPonPort(const BridgeServiceProvisioning& record, const Prepare& prepare) {
    if (record.trafficModel > kLastTrafficModel)
        return {false, bridgeName(record) + ": there is no such traffic model"};
    const auto port = ponPortOf(record, gemIndexOf_);
    if (!port) return {false, bridgeName(record) + ": a GEM port is not known, or the list of its filter is none"};
    Tables tables = tables_;
    Keys keys = keys_;
    auto& ports = tables.bridges[record.bridgeId];
    auto& own = keys[record.bridgeId];
    const PonPortKey key{gemPortIds(record), port->ipProtocol};
    const auto known = std::find(own.begin(), own.end(), key);
    if (known != own.end()) {
        ports[static_cast<std::size_t>(known - own.begin())] = *port;
    } else {
        ports.push_back(*port);
        own.push_back(key);
    }
    return change(std::move(tables), std::move(keys), prepare);
}

template <typename Goes>
Outcome Services::removePonPortsIf(std::uint16_t bridge, Goes goes) {
    Tables tables = tables_;
    Keys keys = keys_;
    auto& ports = tables.bridges[bridge];
    auto& own = keys[bridge];
    for (std::size_t i = own.size(); i-- > 0;) {
        if (!goes(own[i])) continue;
        own.erase(own.begin() + static_cast<std::ptrdiff_t>(i));
        ports.erase(ports.begin() + static_cast<std::ptrdiff_t>(i));
    }
    if (own.empty()) {
        tables.bridges.erase(bridge);
        keys.erase(bridge);
    }
    return change(std::move(tables), std::move(keys));
}

Outcome Services::removePonPorts(const BridgeServiceProvisioning& record) {
    const auto named = gemPortIds(record);
    return removePonPortsIf(record.bridgeId, [&](const PonPortKey& key) {
        return named.empty() || std::any_of(key.gemPortIds.begin(), key.gemPortIds.end(),
                                            [&](std::uint16_t portId) { return named.count(portId) != 0; });
    });
}

Outcome Services::removePonSide(std::uint16_t bridge) {
    return removePonPortsIf(bridge, [](const PonPortKey&) { return true; });
}

std::size_t Services::multicastPorts() const {
    std::size_t count = 0;
    for (const auto& bridge : tables_.bridges)
        for (const PonPort& port : bridge.second) count += port.downstreamGems.empty() ? 0 : 1;
    return count;
}

// ---- a state file that is read back ----

std::optional<PonSide> Services::ponSide(std::uint16_t bridge) const {
    const auto ports = tables_.bridges.find(bridge);
    const auto keys = keys_.find(bridge);
    if (ports == tables_.bridges.end() || keys == keys_.end()) return std::nullopt;
    return PonSide{ports->second, keys->second};
}

void Services::restore(std::uint16_t bridge, PonSide side) {
    tables_.bridges[bridge] = std::move(side.ports);
    keys_[bridge] = std::move(side.keys);
}

void Services::restore(const TableKey& table, InstalledRule installed) {
    auto& rules = installed_[table];
    const auto behind = std::upper_bound(rules.begin(), rules.end(), installed.place,
                                         [](std::int32_t place, const auto& one) { return place < one.place; });
    rules.insert(behind, std::move(installed));
}

bool Services::forgetRule(const TableKey& table, std::uint32_t id) {
    const auto found = installed_.find(table);
    if (found == installed_.end()) return false;
    auto& rules = found->second;
    const auto isIt = [&](const InstalledRule& one) { return one.id == id; };
    const auto one = std::find_if(rules.begin(), rules.end(), isIt);
    if (one == rules.end()) return false;
    rules.erase(one);
    noteRule(table, id);
    if (rules.empty()) installed_.erase(found);
    return true;
}

void Services::forgetRules(const TableKey& table) {
    const auto found = installed_.find(table);
    if (found == installed_.end()) return;
    for (const InstalledRule& one : found->second) noteRule(table, one.id);
    installed_.erase(found);
}

void Services::forgetMissing(const Exists& exists) {
    noteTables();
    const Tables before = tables_;
    for (const auto& [number, port] : before.uniPorts)
        for (const std::uint16_t bridge : port.bridges)
            if (!exists(uniVlanDevice(number, bridge))) leave(tables_, number, bridge);
    for (const auto& bridge : before.bridges) {
        if (exists(aniVlanDevice(bridge.first))) continue;
        tables_.bridges.erase(bridge.first);
        keys_.erase(bridge.first);
    }
    const Installed installed = installed_;
    for (const auto& table : installed)
        if (!exists(table.first.device)) forgetRules(table.first);
}

void Services::forgetTables() {
    noteTables();
    tables_ = {};
    keys_ = {};
}

Outcome Services::bringBack() {
    const state::Operation operation;
    return carryOut(planOf(tables_), installed_);
}

}  // namespace g988
