#include "BRCM/BCM968580/DATA/g988/Services.h"

#include <algorithm>

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

Outcome Services::change(Tables tables) {
    return change(std::move(tables), keys_);
}

Outcome Services::change(Tables tables, Keys keys) {
    Outcome outcome = carryOut(planOf(tables), installed_);
    if (!outcome.done) return outcome;
    tables_ = std::move(tables);
    keys_ = std::move(keys);
    return outcome;
}

Outcome Services::setUni(const UniDataProvisioning& record) {
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
        return change(std::move(tables));
    }
    if (!port.tagging) port.tagging.emplace();
    setAttributes(*port.tagging, record);
    port.tagging->set(rowOf(record));
    return change(std::move(tables));
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

Outcome Services::setPonPort(const BridgeServiceProvisioning& record) {
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
    return change(std::move(tables), std::move(keys));
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

}  // namespace g988
