#include "BRCM/BCM968580/DATA/g988/Planner.h"

#include <algorithm>

#include "BRCM/BCM968580/DATA/g988/Draft.h"

namespace g988 {

Plan Draft::finish() {
    Plan plan;
    for (auto& [side, lists] : tables_) {
        const auto& [device, direction] = side;
        for (unsigned tags = 0; tags < lists.size(); ++tags)
            plan.tables.emplace_hint(plan.tables.end(), TableKey{device, direction, tags}, lists[tags].take());
    }
    plan.refusals = std::move(refusals_);
    return plan;
}

namespace {

void addFrom(const std::vector<Selector>& selectors, std::size_t first, const Match& all, const Rule& rest,
             RuleList& out) {
    if (out.isFull()) return;
    if (first == selectors.size()) {
        Rule rule = rest;
        rule.match = all;
        return out.add(std::move(rule));
    }
    for (const Match& excluded : selectors[first].excluded) {
        Match both = all;
        if (both.add(excluded)) addFrom(selectors, first + 1, both, rest, out);
    }
    for (const Rule& takes : selectors[first].rules) {
        Match both = all;
        if (!both.add(takes.match)) continue;
        const bool takesEverything = both == all;
        Rule rule = takes;
        rule.match = both;
        out.add(std::move(rule));
        if (takesEverything) return;
    }
    addFrom(selectors, first + 1, all, rest, out);
}

}  // namespace

void addFirstOf(const std::vector<Selector>& selectors, const Match& all, const Rule& rest, RuleList& out) {
    addFrom(selectors, 0, all, rest, out);
}

std::string uniDevice(std::uint16_t number) {
    return "sid" + std::to_string(number);
}

std::string uniVlanDevice(std::uint16_t number, std::uint16_t bridge) {
    return uniDevice(number) + "." + std::to_string(bridge);
}

std::string aniDevice(std::uint16_t bridge) {
    return "gpon" + std::to_string(bridge);
}

std::string aniVlanDevice(std::uint16_t bridge) {
    return aniDevice(bridge) + "." + std::to_string(bridge);
}

Entries entriesOf(const Tables& tables) {
    Entries all;
    for (const auto& port : tables.uniPorts) all.uniPorts.insert(port.first);
    for (const auto& bridge : tables.bridges) all.bridges.insert(bridge.first);
    return all;
}

Scope scopeOf(const Entries& replaced, const Tables& before, const Tables& after) {
    Scope scope;
    for (const std::uint16_t number : replaced.uniPorts)
        scope.uniPorts[number] = bridgesSentOtherwise(portOf(number, before), portOf(number, after));
    for (const std::uint16_t bridge : replaced.bridges) {
        scope.bridges.insert(bridge);
        for (const Tables* const tables : {&before, &after}) {
            const auto ports = tables->bridges.find(bridge);
            if (ports == tables->bridges.end()) continue;
            for (const PonPort& port : ports->second) scope.gems.merge(gemsOf(port));
        }
        // A port of several bridges looks at the PON sides of all of them.
        for (const auto& [number, port] : after.uniPorts)
            if (port.bridges.size() > 1 && port.bridges.count(bridge) != 0) scope.uniPorts[number];
    }
    return scope;
}

Plan planOf(const Tables& tables, const Scope& scope) {
    Draft draft;
    for (const auto& [number, bridges] : scope.uniPorts) planUniPort(number, bridges, tables, draft);
    planPonSides(scope, tables, draft);
    return draft.finish();
}

Plan planOf(const Tables& tables) {
    return planOf(tables, scopeOf(entriesOf(tables), {}, tables));
}

}  // namespace g988
