#include "running/state/RuleOrigins.h"

#include <utility>

namespace vorn_onu {

namespace {

// Filters first, as the device's state has them.
std::vector<std::string> termsOf(const virtual_onu::TagRule& rule) {
    std::vector<std::string> filters, commands;
    for (const auto& term : rule.terms) (term.isCommand() ? commands : filters).push_back(term.text());
    filters.insert(filters.end(), commands.begin(), commands.end());
    return filters;
}

}  // namespace

std::vector<MergedRule> RuleOrigins::take(const std::vector<virtual_onu::RuleTable>& tables, std::size_t step) {
    std::map<Key, std::size_t> now;
    std::vector<TableState> fresh;
    for (const auto& table : tables) {
        TableState added{table.device, table.direction == virtual_onu::kReceive, table.tags, {}, {}};
        for (const auto& rule : table.rules) {
            const Key key{table.device, table.direction, table.tags, rule.id};
            const auto known = steps_.find(key);
            now[key] = known != steps_.end() ? known->second : step;
            if (known == steps_.end()) added.rules.push_back({termsOf(rule), rule.id});
        }
        if (!added.rules.empty()) fresh.push_back(std::move(added));
    }
    steps_ = std::move(now);
    // Rules of one device and direction are merged, as in the tables of a service.
    std::map<std::pair<std::string, bool>, std::vector<const TableState*>> byPlace;
    for (const TableState& table : fresh) byPlace[{table.device, table.receive}].push_back(&table);
    std::vector<MergedRule> rules;
    for (const auto& [place, some] : byPlace)
        for (MergedRule& rule : mergedRules(some)) rules.push_back(std::move(rule));
    return rules;
}

std::vector<std::size_t> RuleOrigins::of(const virtual_onu::Walk& walk) const {
    std::vector<std::size_t> steps;
    for (const virtual_onu::Hop& hop : walk.hops.all()) {
        const bool matched = hop.kind == virtual_onu::Hop::Kind::Table && hop.rule.has_value();
        const auto found = matched ? steps_.find({hop.device, hop.direction, hop.table, *hop.rule}) : steps_.end();
        steps.push_back(found != steps_.end() ? found->second : 0);
    }
    return steps;
}

}  // namespace vorn_onu
