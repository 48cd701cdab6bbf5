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

// A port of several bridges looks at the PON sides of all of them.
Scope Services::ofPonSide(std::uint16_t bridge) const {
    Scope scope{{}, {bridge}};
    for (const auto& [number, port] : asked_.tables.uniPorts)
        if (port.bridges.size() > 1 && port.bridges.count(bridge) != 0) scope.uniPorts.insert(number);
    return scope;
}

Outcome Services::change(const Scope& scope, const Edit& edit, const Prepare& prepare) {
    Asked asked = asked_;
    edit(asked);
    Outcome outcome = replace(std::move(asked), scope, prepare);
    if (outcome.done && claimed_) edit(*claimed_);
    return outcome;
}

Outcome Services::replace(Asked asked, const std::optional<Scope>& scope, const Prepare& prepare) {
    const Plan plan = scope && isCarriedOut_ ? planOf(asked.tables, *scope) : planOf(asked.tables);
    if (!plan.refusals.empty()) return {false, plan.refusals.front().text()};
    if (prepare) {
        const std::string problem = prepare();
        if (!problem.empty()) return {false, problem};
    }
    const state::Operation operation;
    Outcome outcome = carryOut(plan, installed_);
    isCarriedOut_ = outcome.done || (isCarriedOut_ && !outcome.isPartly);
    if (!outcome.done) return outcome;
    noteTables();
    asked_ = std::move(asked);
    noteTables();
    return outcome;
}

Services::Before Services::before() const {
    Before before;
    before.asked_ = asked_;
    before.claimed_ = claimed_;
    return before;
}

Outcome Services::rollBack(const Before& before) {
    Outcome outcome = replace(before.asked_);
    if (outcome.done) claimed_ = before.claimed_;
    return outcome;
}

// What is gone and what has come: the file takes what differs.
void Services::noteTables() const {
    if (state::journal() == nullptr) return;
    for (const auto& port : asked_.tables.uniPorts) kit::noteChange(kit::Entry::TaggedPorts, port.first);
    for (const auto& bridge : asked_.tables.bridges) kit::noteChange(kit::Entry::PonSides, bridge.first);
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
        return change(ofPort(number), [&](Asked& asked) {
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
    return change(ofPort(number), edit, prepare);
}

Outcome Services::removeUni(std::uint16_t uniPort, std::uint16_t bridge) {
    if (uniPort == 0) return {false, "there is no UNI port 0"};
    const auto number = static_cast<std::uint16_t>(uniPort - 1);
    return change(ofPort(number), [&](Asked& asked) { leave(asked.tables, number, bridge); });
}

Outcome Services::removeUniSide(std::uint16_t bridge) {
    Scope scope;
    for (const auto& [number, port] : asked_.tables.uniPorts)
        if (port.bridges.count(bridge) != 0) scope.uniPorts.insert(number);
    return change(scope, [&](Asked& asked) {
        const auto ports = asked.tables.uniPorts;
        for (const auto& port : ports) leave(asked.tables, port.first, bridge);
    });
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
    return change(ofPonSide(record.bridgeId), edit, prepare);
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

Outcome Services::removePonPorts(const BridgeServiceProvisioning& record) {
    const auto goes = [named = gemPortIds(record), ofMulticast = isMulticast(record)](const PonPortKey& key) {
        return named.empty() || (key.isMulticast == ofMulticast && isNamed(key, named));
    };
    return change(ofPonSide(record.bridgeId), [&](Asked& asked) { erasePonPorts(asked, record.bridgeId, goes); });
}

Outcome Services::removeGemPort(std::uint16_t bridge, std::uint16_t gemPortId) {
    return change(ofPonSide(bridge), [&](Asked& asked) {
        erasePonPorts(asked, bridge, [&](const PonPortKey& key) { return isNamed(key, {gemPortId}); });
    });
}

Outcome Services::removePonSide(std::uint16_t bridge) {
    return change(ofPonSide(bridge),
                  [&](Asked& asked) { erasePonPorts(asked, bridge, [](const PonPortKey&) { return true; }); });
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
    const Outcome outcome = carryOut(planOf(asked_.tables), installed_);
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
    Outcome outcome = replace(*claimed_);
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
