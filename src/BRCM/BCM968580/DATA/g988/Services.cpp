#include "BRCM/BCM968580/DATA/g988/Services.h"

#include <algorithm>

#include "BRCM/BCM968580/DATA/g988/Draft.h"
#include "kit/DeviceNames.h"
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

// ---- operations ----

Services::Asked Services::partOf(const Asked& asked, const Entries& entries) {
    const auto copy = [](const auto& map, auto& part, const std::set<std::uint16_t>& numbers) {
        for (const std::uint16_t number : numbers)
            if (const auto found = map.find(number); found != map.end()) part.insert(*found);
    };
    Asked part;
    copy(asked.tables.uniPorts, part.tables.uniPorts, entries.uniPorts);
    copy(asked.tables.bridges, part.tables.bridges, entries.bridges);
    copy(asked.keys, part.keys, entries.bridges);
    part.gatewayGems = asked.gatewayGems;
    return part;
}

void Services::exchange(Asked& one, Asked& other, const Entries& entries) {
    const auto swap = [](auto& left, auto& right, const std::set<std::uint16_t>& numbers) {
        for (const std::uint16_t number : numbers) {
            auto fromLeft = left.extract(number), fromRight = right.extract(number);
            left.insert(std::move(fromRight));
            right.insert(std::move(fromLeft));
        }
    };
    swap(one.tables.uniPorts, other.tables.uniPorts, entries.uniPorts);
    swap(one.tables.bridges, other.tables.bridges, entries.bridges);
    swap(one.keys, other.keys, entries.bridges);
    std::swap(one.gatewayGems, other.gatewayGems);
}

Outcome Services::change(const Entries& entries, const Edit& edit, const Prepare& prepare, Before* before) {
    Asked part = partOf(asked_, entries);
    edit(part);
    Outcome outcome = replace(entries, part, prepare);
    if (!outcome.done) return outcome;
    if (before != nullptr) {
        before->entries_ = entries;
        before->asked_ = std::move(part);
        if (claimed_) before->claimed_ = partOf(*claimed_, entries);
    }
    if (claimed_) edit(*claimed_);
    return outcome;
}

Plan Services::planOfBoard(const Tables& tables) const {
    Plan plan = planOf(tables);
    emptyOthers(plan, installed_);
    return plan;
}

Plan Services::planWith(const std::optional<Entries>& entries, Asked& asked) {
    if (!entries) return planOfBoard(asked.tables);
    exchange(asked_, asked, *entries);
    Plan plan = isCarriedOut_ ? planOf(asked_.tables, scopeOf(*entries, asked.tables, asked_.tables))
                              : planOfBoard(asked_.tables);
    exchange(asked_, asked, *entries);
    return plan;
}

Outcome Services::replace(const std::optional<Entries>& entries, Asked& asked, const Prepare& prepare) {
    const Plan plan = planWith(entries, asked);
    if (prepare) {
        std::string problem = obstacleTo(plan, installed_);
        if (problem.empty()) problem = prepare();
        if (!problem.empty()) return {false, problem};
    }
    const state::Operation operation;
    Outcome outcome = carryOut(plan, installed_);
    isCarriedOut_ = outcome.done || (isCarriedOut_ && !outcome.isPartly);
    if (!outcome.done) return outcome;
    noteTables(entries);
    if (entries) {
        exchange(asked_, asked, *entries);
    } else {
        std::swap(asked_, asked);
    }
    noteTables(entries);
    return outcome;
}

Outcome Services::rollBack(const Before& before) {
    Asked asked = before.asked_;
    Outcome outcome = replace(before.entries_, asked);
    if (!outcome.done || !claimed_ || !before.claimed_) return outcome;
    Asked claimed = *before.claimed_;
    exchange(*claimed_, claimed, before.entries_);
    return outcome;
}

// What is gone and what has come: the file takes what differs.
void Services::noteTables(const std::optional<Entries>& entries) const {
    if (state::journal() == nullptr) return;
    const Entries noted = entries ? *entries : entriesOf(asked_.tables);
    for (const std::uint16_t number : noted.uniPorts) kit::noteChange(kit::Entry::TaggedPorts, number);
    for (const std::uint16_t bridge : noted.bridges) kit::noteChange(kit::Entry::PonSides, bridge);
    for (const std::uint16_t gemPortId : asked_.gatewayGems) kit::noteChange(kit::Entry::GatewayGems, gemPortId);
}

Outcome Services::setUni(const UniDataProvisioning& record, const Prepare& prepare) {
    if (record.uniPort == 0) return {false, "there is no UNI port 0"};
    if (record.uniPort > kLastEthernetPort) return {true, ""};
    const auto number = static_cast<std::uint16_t>(record.uniPort - 1);
    const bool deletes = deletesRow(record);
    const char* const mistake = deletes || record.hasTagRules != 0 ? unknownCode(record) : nullptr;
    if (mistake != nullptr) return {false, "row of " + uniDevice(number) + ": " + mistake};
    if (deletes) {
        return change({{number}, {}}, [&](Asked& asked) {
            const auto found = asked.tables.uniPorts.find(number);
            if (found != asked.tables.uniPorts.end() && found->second.tagging)
                found->second.tagging->erase(rowOf(record));
        });
    }
    const auto edit = [&](Asked& asked) {
        UniPort& port = asked.tables.uniPorts[number];
        port.bridges.insert(record.bridgeId);
        if (record.hasTagRules == 0) {
            port.tagging.reset();
            return;
        }
        if (!port.tagging) port.tagging.emplace();
        setAttributes(*port.tagging, record);
        port.tagging->set(rowOf(record));
    };
    return change({{number}, {}}, edit, prepare);
}

Outcome Services::removeUni(std::uint16_t uniPort, std::uint16_t bridge, Before* before) {
    if (uniPort == 0) return {false, "there is no UNI port 0"};
    const auto number = static_cast<std::uint16_t>(uniPort - 1);
    const auto edit = [&](Asked& asked) { leave(asked.tables, number, bridge); };
    return change({{number}, {}}, edit, nullptr, before);
}

Outcome Services::removeUniSide(std::uint16_t bridge, Before* before) {
    Entries members;
    for (const auto& [number, port] : asked_.tables.uniPorts)
        if (port.bridges.count(bridge) != 0) members.uniPorts.insert(number);
    const auto edit = [&](Asked& asked) {
        for (const std::uint16_t number : members.uniPorts) leave(asked.tables, number, bridge);
    };
    return change(members, edit, nullptr, before);
}

Outcome Services::setPonPort(const BridgeServiceProvisioning& record, const Prepare& prepare) {
    if (record.trafficModel > kLastTrafficModel)
        return {false, bridgeName(record) + ": there is no such traffic model"};
    const auto port = ponPortOf(record, gemIndexOf_);
    if (!port) return {false, bridgeName(record) + ": a GEM port is not known, or the list of its filter is none"};
    const PonPortKey key{gemPortIds(record), port->ipProtocol, isMulticast(record)};
    const auto edit = [&](Asked& asked) {
        auto& ports = asked.tables.bridges[record.bridgeId];
        auto& keys = asked.keys[record.bridgeId];
        const auto known = std::find(keys.begin(), keys.end(), key);
        if (known != keys.end()) {
            ports[static_cast<std::size_t>(known - keys.begin())] = *port;
        } else {
            ports.push_back(*port);
            keys.push_back(key);
        }
    };
    return change({{}, {record.bridgeId}}, edit, prepare);
}

namespace {

template <typename Asked, typename Goes>
void erasePonPorts(Asked& asked, std::uint16_t bridge, Goes goes) {
    auto& ports = asked.tables.bridges[bridge];
    auto& keys = asked.keys[bridge];
    for (std::size_t i = keys.size(); i-- > 0;) {
        if (!goes(keys[i])) continue;
        keys.erase(keys.begin() + static_cast<std::ptrdiff_t>(i));
        ports.erase(ports.begin() + static_cast<std::ptrdiff_t>(i));
    }
    if (!keys.empty()) return;
    asked.tables.bridges.erase(bridge);
    asked.keys.erase(bridge);
}

bool isNamed(const PonPortKey& key, const std::set<std::uint16_t>& gemPortIds) {
    return std::any_of(key.gemPortIds.begin(), key.gemPortIds.end(),
                       [&](std::uint16_t portId) { return gemPortIds.count(portId) != 0; });
}

}  // namespace

template <typename Goes>
Outcome Services::removePonPorts(std::uint16_t bridge, Goes goes, Before* before) {
    return change(
        {{}, {bridge}}, [&](Asked& asked) { erasePonPorts(asked, bridge, goes); }, nullptr, before);
}

Outcome Services::removePonPorts(const BridgeServiceProvisioning& record, Before* before) {
    const auto goes = [named = gemPortIds(record), ofMulticast = isMulticast(record)](const PonPortKey& key) {
        return named.empty() || (key.isMulticast == ofMulticast && isNamed(key, named));
    };
    return removePonPorts(record.bridgeId, goes, before);
}

Outcome Services::removeGemPort(std::uint16_t bridge, std::uint16_t gemPortId, Before* before) {
    return removePonPorts(
        bridge, [&](const PonPortKey& key) { return isNamed(key, {gemPortId}); }, before);
}

Outcome Services::removePonSide(std::uint16_t bridge, Before* before) {
    return removePonPorts(
        bridge, [](const PonPortKey&) { return true; }, before);
}

std::size_t Services::multicastPorts() const {
    std::size_t count = 0;
    for (const auto& bridge : asked_.tables.bridges)
        for (const PonPort& port : bridge.second) count += port.downstreamGems.empty() ? 0 : 1;
    return count;
}

bool Services::addGatewayGem(std::uint16_t gemPortId) {
    if (claimed_) claimed_->gatewayGems.insert(gemPortId);
    kit::noteChange(kit::Entry::GatewayGems, gemPortId);
    return asked_.gatewayGems.insert(gemPortId).second;
}

void Services::removeGatewayGem(std::uint16_t gemPortId) {
    if (claimed_) claimed_->gatewayGems.erase(gemPortId);
    kit::noteChange(kit::Entry::GatewayGems, gemPortId);
    asked_.gatewayGems.erase(gemPortId);
}

// ---- a state file that is read back ----

std::optional<PonSide> Services::ponSide(std::uint16_t bridge) const {
    const auto ports = asked_.tables.bridges.find(bridge);
    const auto keys = asked_.keys.find(bridge);
    if (ports == asked_.tables.bridges.end() || keys == asked_.keys.end()) return std::nullopt;
    return PonSide{ports->second, keys->second};
}

void Services::restore(std::uint16_t bridge, PonSide side) {
    asked_.tables.bridges[bridge] = std::move(side.ports);
    asked_.keys[bridge] = std::move(side.keys);
}

void Services::restore(const TableKey& table, InstalledRule installed) {
    installed_[table].insert(std::move(installed));
}

bool Services::forgetRule(const TableKey& table, std::uint32_t id) {
    const auto found = installed_.find(table);
    const InstalledRule* const rule = found == installed_.end() ? nullptr : found->second.find(id);
    if (rule == nullptr) return false;
    found->second.erase(rule->rule.match.source(), id);
    noteRule(table, id);
    if (found->second.isEmpty()) installed_.erase(found);
    return true;
}

void Services::forgetRules(const TableKey& table) {
    const auto found = installed_.find(table);
    if (found == installed_.end()) return;
    for (const InstalledRule& one : found->second.inOrder()) noteRule(table, one.id);
    installed_.erase(found);
}

void Services::forgetMissing(const Exists& exists) {
    noteTables();
    const Tables before = asked_.tables;
    for (const auto& [number, port] : before.uniPorts)
        for (const std::uint16_t bridge : port.bridges)
            if (!exists(uniVlanDevice(number, bridge))) leave(asked_.tables, number, bridge);
    for (const auto& bridge : before.bridges) {
        if (exists(aniVlanDevice(bridge.first))) continue;
        asked_.tables.bridges.erase(bridge.first);
        asked_.keys.erase(bridge.first);
    }
    const Installed installed = installed_;
    for (const auto& table : installed)
        if (!exists(table.first.device)) forgetRules(table.first);
}

void Services::forgetGemPort(std::uint16_t bridge, std::uint16_t gemPortId) {
    noteTables();
    erasePonPorts(asked_, bridge, [&](const PonPortKey& key) { return isNamed(key, {gemPortId}); });
}

void Services::forgetTables() {
    noteTables();
    asked_ = {};
    claimed_.reset();
    isCarriedOut_ = false;
}

Outcome Services::bringBack() {
    const state::Operation operation;
    const Outcome outcome = carryOut(planOfBoard(asked_.tables), installed_);
    isCarriedOut_ = outcome.done;
    return outcome;
}

// ---- a daemon that asks again for all that it wants ----

void Services::expectClaims() {
    claimed_.emplace();
}

// The tables are those of a board that was asked for nothing else, so what differs is what goes.
Outcome Services::settle() {
    if (!claimed_) return {true, ""};
    Asked asked = *claimed_;
    Outcome outcome = replace(std::nullopt, asked);
    if (outcome.done) claimed_.reset();
    return outcome;
}

bool Services::needsDevice(const std::string& device) const {
    const Tables& tables = claimed_ ? claimed_->tables : asked_.tables;
    // Whatever makes a bridge makes the default bridge first.
    if (device == kDefaultBridge) return !tables.uniPorts.empty() || !tables.bridges.empty();
    const auto isOfBridge = [&](std::uint16_t bridge) {
        return device == kit::bridgeName(bridge).get() || device == aniDevice(bridge) ||
               device == aniVlanDevice(bridge);
    };
    for (const auto& [number, port] : tables.uniPorts)
        for (const std::uint16_t bridge : port.bridges)
            if (isOfBridge(bridge) || device == uniVlanDevice(number, bridge)) return true;
    return std::any_of(tables.bridges.begin(), tables.bridges.end(),
                       [&](const auto& bridge) { return isOfBridge(bridge.first); });
}

}  // namespace g988
