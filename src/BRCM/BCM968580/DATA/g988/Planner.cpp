#include "BRCM/BCM968580/DATA/g988/Planner.h"

#include <algorithm>

#include "BRCM/BCM968580/DATA/g988/Draft.h"

namespace g988 {

Plan Draft::finish() {
    Plan plan;
    for (auto& [key, list] : tables_) {
        if (list.isFull()) refuse(key.device, "the service needs more rules than a table holds");
        auto rules = list.take();
        if (!rules.empty()) plan.tables.emplace(key, std::move(rules));
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

bool Scope::covers(const std::string& device) const {
    if (device == kPonDeviceName) return !bridges.empty();
    const auto isOf = [&](std::string (*name)(std::uint16_t), const std::set<std::uint16_t>& numbers) {
        return std::any_of(numbers.begin(), numbers.end(), [&](auto number) { return device == name(number); });
    };
    return isOf(uniDevice, uniPorts) || isOf(aniDevice, bridges);
}

Plan planOf(const Tables& tables, const Scope& scope) {
    Draft draft;
    for (const auto& [number, port] : tables.uniPorts)
        if (scope.uniPorts.count(number) != 0) planUniPort(number, port, tables, draft);
    if (!scope.bridges.empty()) planPonSide(tables, scope.bridges, draft);
    Plan plan = draft.finish();
    plan.scope = scope;
    return plan;
}

Plan planOf(const Tables& tables) {
    Scope all;
    for (const auto& port : tables.uniPorts) all.uniPorts.insert(port.first);
    for (const auto& bridge : tables.bridges) all.bridges.insert(bridge.first);
    Plan plan = planOf(tables, all);
    plan.scope.reset();
    return plan;
}

}  // namespace g988
